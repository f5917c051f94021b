#pragma once

namespace lx {

/// Called before the first use of OpenSSL, wherever that is. A thread of ours may still be closing connections when the
/// process ends, so that OpenSSL must not take itself down at the exit.
void initialiseOpenSSL();

}  // namespace lx
