#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthServerErrorInfo.h"

namespace lx {

std::optional<AuthBlockReason> blockReason(const NetworkServiceError& error) {
  const auto* serverError = error.serverError();
  if (!serverError) return std::nullopt;
  const auto* info = dynamic_cast<const AuthServerErrorInfo*>(serverError->info.get());
  constexpr int forbidden = 403;
  if (!info || serverError->response.statusCode != forbidden) return std::nullopt;
  return AuthBlockReason{info->reason};
}

}  // namespace lx
