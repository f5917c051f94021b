#pragma once

#include "LXTesting/Backend/CodeStoreInternal.h"
#include "LXTesting/Backend/JSONInternal.h"

namespace lx::backend {

/// The token endpoint's answer to every grant.
json::object tokenAnswer(const IssuedTokens& tokens, const std::optional<std::string>& deviceID);

/// The answer to a code that is not redeemed.
ServerResponse codeRefused(CodeStore::Refusal refusal);

}  // namespace lx::backend
