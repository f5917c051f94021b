#include "LXTesting/DevUser.h"

#include "LXTesting/Backend/JSONInternal.h"

namespace lx {

namespace {

DevUser makeUser(const std::string& key, std::string id, std::string role, std::string_view record) {
  DevUser user{.key = key,
               .id = std::move(id),
               .record = boost::json::serialize(boost::json::parse(record)),
               .role = std::move(role),
               .lxauthToken = "lxauth-" + key,
               .googleToken = "google-" + key,
               .appleToken = "apple-" + key};
  return user;
}

}  // namespace

std::vector<DevUser> seededUsers() {
  std::vector<DevUser> users{makeUser("ordinary", "1001", "writer", R"({
        "id": "1001", "firstName": "Olive", "name": "Olive Ordinary", "email": "olive@example.test",
        "anonymous": false, "isTest": false, "registrationDate": "2021-03-04T05:06:07.123",
        "groups": ["mobile-ios", "extension-edge"]})"),
                             makeUser("institution", "1002", "teacher", R"({
        "id": "1002", "firstName": "Ines", "name": "Ines Institution", "email": "ines@university.test",
        "anonymous": false, "isTest": false, "registrationDate": "2020-09-01T08:00:00.000",
        "institutionInfo": {
          "id": 77, "name": "Example University", "admin": true, "kivEnabled": true,
          "kivInfo": {"companyName": "Example University", "styleGuideEnabled": true,
                      "logoUrl": "https://static.lexiconia.com/logos/77.png"},
          "organizationType": "EDU"},
        "groups": ["claimed-invitation", "webeditor"]})"),
                             makeUser("managed", "1003", "analyst", R"({
        "id": "1003", "firstName": "Mara", "name": "Mara Managed", "email": "mara@company.test",
        "anonymous": false, "isTest": false, "registrationDate": "2022-01-10T10:20:30.456",
        "institutionInfo": {"id": 88, "name": "Example Company", "admin": false, "kivEnabled": false,
                            "organizationType": "BUSINESS"},
        "managedModeInfo": {"compliant": true, "ssoId": "sso-88",
                            "ssoUrl": "https://auth.lexiconia.com/sso/signin?sso_id=sso-88",
                            "institutionName": "Example Company"},
        "groups": ["macExtension"]})"),
                             makeUser("blocked", "1004", "writer", R"({
        "id": "1004", "firstName": "Bo", "name": "Bo Blocked", "email": "bo@example.test",
        "anonymous": false, "isTest": false, "groups": []})"),
                             makeUser("anonymous", "2001", "guest", R"({
        "id": "2001", "email": "", "anonymous": true, "isTest": false, "groups": []})")};
  users[3].blockReason = "stand_with_ukraine";
  return users;
}

}  // namespace lx
