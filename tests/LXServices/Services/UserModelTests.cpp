#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXServices/Services/UserModel.h"

#include "support/Examples.h"

namespace lx {
namespace {

using Client = UserModel::Client;
using testing::ElementsAre;

/// Every key, in the order in which they are written.
constexpr std::string_view full =
    R"({"id":"u1","firstName":"Ada","name":"Ada E","email":"ada@lexiconia.com","anonymous":false,"isTest":true,)"
    R"("registrationDate":"2021-03-04T05:06:07.123",)"
    R"("institutionInfo":{"id":9007199254740993,"name":"Org","admin":true,"kivEnabled":true,)"
    R"("kivInfo":{"companyName":"C","styleGuideEnabled":true,"logoUrl":"https://a.test/l.png"},)"
    R"("organizationType":"FOUNDATION"},)"
    R"("managedModeInfo":{"compliant":true,"ssoId":"s","ssoUrl":"not a url","institutionName":"Org"},)"
    R"("groups":["mobile-ios","x"],"customFields":{"a":"1","b":""}})";

std::string roundTrip(std::string_view text) {
  const auto user = decodeJSON<UserModel>(text);
  return user ? encodeJSONText(*user).value_or("not encodable") : user.error().description();
}

UserModel userOf(std::vector<std::string> groups) {
  UserModel user;
  user.groups = std::move(groups);
  return user;
}

TEST(UserModel, IsWrittenAsItWasReadByteForByte) {
  EXPECT_EQ(roundTrip(full), full);
  EXPECT_EQ(roundTrip(R"({"isTest":false,"anonymous":true,"email":"","id":"","new":{}})"),
            R"({"id":"","email":"","anonymous":true,"isTest":false,"groups":[]})");
  const auto user = decodeJSON<UserModel>(full);
  EXPECT_EQ(user->authData, UserAuthData::empty);
  EXPECT_EQ(user->institutionID(), 9007199254740993);
  EXPECT_EQ(user->institutionName(), "Org");
  EXPECT_EQ(user->registrationDate, parseTimestamp("2021-03-04T05:06:07.123"));
  EXPECT_EQ(encodeJSONText(user->withAuth(UserAuthData{"secret", "c", "p"})).value(), full);
}

TEST(UserModel, FailsForStrictFieldsAlone) {
  const struct {
    std::string_view what, with, fault;
  } cases[] = {
      {R"("id":"u1",)", "", "id: missing"},
      {R"("email":"ada@lexiconia.com",)", "", "email: missing"},
      {R"("email":"ada@lexiconia.com")", R"("email":null)", "email: wrong type"},
      {R"("anonymous":false,)", "", "anonymous: missing"},
      {R"("isTest":true,)", "", "isTest: missing"},
      {R"("id":9007199254740993,)", "", "institutionInfo.id: missing"},
      {R"("admin":true,)", "", "institutionInfo.admin: missing"},
      {R"("kivEnabled":true)", R"("kivEnabled":"true")", "institutionInfo.kivEnabled: wrong type"},
      {R"("styleGuideEnabled":true,)", "", "institutionInfo.kivInfo.styleGuideEnabled: missing"},
      {R"(https://a.test/l.png)", "/l.png", "institutionInfo.kivInfo.logoUrl: malformed"},
      {R"("compliant":true,)", "", "managedModeInfo.compliant: missing"},
      {R"("ssoUrl":"not a url",)", "", "managedModeInfo.ssoUrl: missing"},
      {R"({"a":"1","b":""})", R"(["a"])", "customFields: wrong type"},
  };
  for (const auto& c : cases) EXPECT_EQ(roundTrip(replacing(std::string(full), c.what, c.with)), c.fault) << c.with;
}

TEST(UserModel, WhatIsTolerantOrOptionalNeverFails) {
  const struct {
    std::string_view what, with, written;
  } cases[] = {
      {R"("groups":["mobile-ios","x"],)", "", R"("groups":[],)"},
      {R"(["mobile-ios","x"])", R"(["a",1])", "[]"},
      {R"("registrationDate":"2021-03-04T05:06:07.123",)", R"("registrationDate":"2021-03-04",)", ""},
      {R"("registrationDate":"2021-03-04T05:06:07.123",)", R"("registrationDate":1614834367,)", ""},
      {R"("kivEnabled":true,)", "", R"("kivEnabled":false,)"},
      {R"("firstName":"Ada",)", R"("firstName":null,)", ""},
      {R"(,"customFields":{"a":"1","b":""})", R"(,"customFields":null)", ""},
      {R"(,"organizationType":"FOUNDATION")", R"(,"organizationType":null)", ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(roundTrip(replacing(std::string(full), c.what, c.with)), replacing(std::string(full), c.what, c.written))
        << c.with;
  }
}

TEST(UserModel, TellsItsClientsFromItsGroups) {
  const UserModel user = userOf({"mobile-ios", "claimed-invitation", "Mobile-iOS", "extension-edge", "mobile-ios"});
  EXPECT_THAT(user.clientList(), ElementsAre(Client::mobileIOS, Client::extensionEdge, Client::mobileIOS));
  EXPECT_TRUE(user.isClaimedUser());
  EXPECT_TRUE(hasDesktopClient(user.clientList()));
  EXPECT_FALSE(hasDesktopClient(userOf({"mobile-ios", "mobile-android"}).clientList()));
  EXPECT_FALSE(userOf({"claimed-invitation "}).isClaimedUser());
  for (const auto& row : RawValues<Client>::rows) {
    const bool isMobile = row.text.starts_with("mobile-");
    EXPECT_EQ(hasDesktopClient(userOf({std::string(row.text)}).clientList()), !isMobile) << row.text;
  }
}

TEST(UserModel, KnowsTheMakersPeopleByTheExactEndOfTheAddress) {
  for (const auto& [email, expected] : {std::pair("a@lexiconia.com", true),
                                        {"a@LEXICONIA.com", false},
                                        {"a@x.lexiconia.com", false},
                                        {"a@lexiconia.com.test", false},
                                        {"lexiconia.com", false}}) {
    UserModel user;
    user.email = email;
    EXPECT_EQ(user.isLexiconiaUser(), expected) << email;
  }
}

}  // namespace
}  // namespace lx
