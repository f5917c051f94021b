#pragma once

#include <string_view>

#include "LXUtils/Foundation/URL.h"

namespace lx {

/// True for an absolute http or https URL without user information.
bool isSendable(const URL& url);

/// True for a token (RFC 9110, section 5.6.2).
bool isFieldName(std::string_view text);

/// True unless the text holds CR, LF or NUL, with which it would end its line.
bool isFieldValue(std::string_view text);

/// True for the fields that frame a message, which only the transport can get right.
bool isFramingField(std::string_view name);

/// `text` without the blanks and tabs around it, which are no part of a field's value.
std::string_view trimmedFieldValue(std::string_view text);

}  // namespace lx
