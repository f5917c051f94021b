#pragma once

#include <optional>
#include <string_view>

#include "LXUtils/Network/URLRequest.h"
#include "LXUtils/Network/URLSession.h"

namespace lx {

/// True for an absolute http or https URL without user information.
bool isSendable(const URL& url);

/// Why a request must not be sent; nothing when it may be.
std::optional<URLSessionError> faultOf(const URLRequest& request);

/// True for the fields that frame a message, which only the transport can get right.
bool isFramingField(std::string_view name);

/// `text` without the blanks and tabs around it, which are no part of a field's value.
std::string_view trimmedFieldValue(std::string_view text);

}  // namespace lx
