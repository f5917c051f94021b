#include "LXServices/Services/UserService.h"

#include "lx/Commands.h"
#include "lx/Stack.h"

namespace lx::tool {
namespace {

Task<UserServiceFetchUserResponse> fetch(Stack& stack, const UserOptions& options) {
  const auto networkService = stack.networking().oauth2NetworkService();
  if (!options.version3) return UserServiceOAuth2Impl(networkService, stack.environment()).fetchUser();
  UserService::Parameters parameters;
  if (options.role) parameters[UserRequestQuery::Parameter::customField] = UserRequestQuery::Value::role;
  return UserServiceImpl(networkService, stack.environment()).fetchUser(parameters);
}

}  // namespace

Result<void> runUser(const GlobalOptions& global, const Output& output, const UserOptions& options) {
  const auto stack = Stack::make(global);
  if (!stack) return fail(stack.error());
  const auto fetched = (*stack)->await(fetch(**stack, options));
  if (!fetched) return fail(fetched.error());
  return output.object([&](ObjectWriter& out) { out.wireMembers(fetched->user); });
}

Result<void> runLogout(const GlobalOptions& global, const Output& output, bool localOnly) {
  const auto stack = Stack::make(global);
  if (!stack) return fail(stack.error());
  UserServiceLogoutResponse answer{.ok = true};
  if (!localOnly) {
    const auto loggedOut = (*stack)->await(
        UserServiceImpl((*stack)->networking().oauth2NetworkService(), (*stack)->environment()).logout());
    if (!loggedOut) return fail(loggedOut.error());
    answer = *loggedOut;
    if (const auto revoked = (*stack)->await((*stack)->credentialsService().revokeCredentials()); !revoked) {
      return fail(revoked.error());
    }
  }
  if (const auto signedOut = (*stack)->store().signOut(); !signedOut) return signedOut;
  return output.event([&](ObjectWriter& out) { out.wireMembers(answer); }, "Signed out; the group's store is empty.");
}

}  // namespace lx::tool
