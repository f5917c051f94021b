#include "LXTesting/Fixture.h"

namespace lx::test {
namespace {

struct DevBackendFeatures : BackendTest {
  Answer getAs(const std::string& name, const std::string& path) const { return get(path, cookie(name)); }
  Answer postAs(const std::string& name, const std::string& path, const std::string& body) const {
    return post(path, body, cookie(name));
  }
  static Headers cookie(const std::string& name) { return {{"Cookie", "lxauth=lxauth-" + name}}; }
};

TEST_F(DevBackendFeatures, SettingsAreKeptForEachUserMemberByMember) {
  const std::string brisca = "/api/configuration/brisca/v1/settings";
  postAs("institution", brisca, R"({"briscaEnabled":false,"entryPointsConfig":{"inlineQuickReplyEnabled":true}})");
  EXPECT_EQ(getAs("institution", brisca).body,
            R"({"briscaEnabled":false,"status":"ENABLED",)"
            R"("entryPointsConfig":{"inlineRewriteEnabled":true,"inlineQuickReplyEnabled":true}})");
  EXPECT_EQ(getAs("ordinary", brisca).json("briscaEnabled"), "true");
  EXPECT_EQ(get(brisca).status, 401);
  postAs("institution", "/properties/", R"({"dialectStrong":"british"})");
  EXPECT_EQ(getAs("institution", "/properties/dialectStrong").body, "british");
}

TEST_F(DevBackendFeatures, OrganisationsServeTheirMembersAlone) {
  EXPECT_EQ(getAs("institution", "/client-controls").json("clientControlsEnabled"), "true");
  EXPECT_EQ(getAs("institution", "/kiv/v1/institution/77/sg").json("name"), "House style");
  EXPECT_EQ(getAs("institution", "/kiv/v1/institution/88/sg").status, 403);
  const std::string snippets = "/snippets/v1/snippets/institution/77";
  const std::string snippet = R"({"name":"a","content":"b","hierarchy":"GLOBAL"})";
  EXPECT_EQ(postAs("institution", snippets, snippet).status, 201);
  EXPECT_EQ(postAs("ordinary", snippets, snippet).status, 403);
}

TEST_F(DevBackendFeatures, DictationGivesTextAndAPlaceForTheRecording) {
  const auto generated =
      postAs("ordinary", "/api/murmura/generate", R"({"transcription":"hello","contentLength":5,"contentMD5":"x"})");
  EXPECT_EQ(generated.json("text"), "HELLO");
  const auto place = generated.json("uploadUrl").substr(std::string("https://auth.lexiconia.com").size());
  for (const auto& [digest, status] : {std::pair("XUFAKrxLKna5cZ2REBfFkg==", 201), {"AAAAAAAAAAAAAAAAAAAAAA==", 400}}) {
    auto put = request(HTTPMethod::put, place);
    put.body = dataOf("hello");
    EXPECT_EQ(send(std::move(put), {{"Content-MD5", digest}, {"Content-Type", "audio/m4a"}}).status, status);
  }
}

TEST_F(DevBackendFeatures, EmotionsHaveADateAndAnImage) {
  const auto date = send(request(HTTPMethod::head, "/emoji/v1/joy.svg"));
  EXPECT_EQ(date.header("Last-Modified"), "Sat, 01 Jun 2024 12:00:00 GMT");
  EXPECT_THAT(get("/emoji/v1/joy.2x.png").body, testing::StartsWith("\x89PNG"));
}

}  // namespace
}  // namespace lx::test
