#pragma once

#include "LXTesting/Backend/MessagesInternal.h"
#include "LXTesting/Journal.h"

namespace lx::backend {

/// The journal's record of a request that has just arrived, without a secret in it.
JournalEntry journalEntry(const ServerRequest& request, std::chrono::milliseconds time);

/// The headers of an answer, without a secret in them.
HeaderList redactedHeaders(const ServerResponse& response);

}  // namespace lx::backend
