#include "LXServices/Services/UserModel.h"

#include <algorithm>
#include <utility>

#include "LXServices/Environment/DeploymentDataInternal.h"

namespace lx {

std::optional<std::string> UserModel::institutionName() const {
  return institutionInfo ? std::optional(institutionInfo->name) : std::nullopt;
}

std::optional<std::int64_t> UserModel::institutionID() const {
  return institutionInfo ? std::optional(institutionInfo->id) : std::nullopt;
}

bool UserModel::isClaimedUser() const { return std::ranges::find(groups, "claimed-invitation") != groups.end(); }

bool UserModel::isLexiconiaUser() const { return email.ends_with("@" + std::string(deployment::productionCom)); }

std::vector<UserModel::Client> UserModel::clientList() const {
  std::vector<Client> clients;
  for (const std::string& group : groups) {
    if (const auto client = fromRawValue<Client>(group)) clients.push_back(*client);
  }
  return clients;
}

UserModel UserModel::withAuth(UserAuthData data) const {
  UserModel copy = *this;
  copy.authData = std::move(data);
  return copy;
}

UserModel UserModel::example() {
  UserModel user;
  user.id = "1001";
  user.firstName = "Ada";
  user.name = "Ada Example";
  user.email = "ada@example.com";
  user.groups = {std::string(rawValue(Client::mobileIOS)), std::string(rawValue(Client::extensionChrome))};
  user.registrationDate = std::chrono::sys_days{std::chrono::March / 4 / 2021};
  return user;
}

UserModel UserModel::institutionExample() {
  UserModel user = example();
  user.id = "1002";
  InstitutionInfo institution;
  institution.id = 77;
  institution.name = "Example Organisation";
  institution.isAdmin = true;
  institution.isKivEnabled = true;
  institution.kivInfo = InstitutionInfo::KivInfo{"Example", true, std::nullopt};
  institution.organizationType = InstitutionInfo::OrganizationType::business;
  user.institutionInfo = std::move(institution);
  return user;
}

bool hasDesktopClient(std::span<const UserModel::Client> clients) {
  return std::ranges::any_of(clients, [](UserModel::Client client) {
    return client != UserModel::Client::mobileIOS && client != UserModel::Client::mobileAndroid;
  });
}

Decoded<Date> UserDateFormat::decode(JSONValue value) {
  const auto text = value.asString();
  if (!text) return std::unexpected(DecodingFault::typeMismatch);
  const auto date = parseTimestamp(*text);
  if (!date) return std::unexpected(DecodingFault::malformed);
  return *date;
}

void UserDateFormat::encode(JSONWriter& writer, Date value) { writer.string(formatTimestamp(value)); }

}  // namespace lx
