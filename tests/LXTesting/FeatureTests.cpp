#include "LXTesting/Fixture.h"

namespace lx::test {
namespace {

using testing::HasSubstr;

struct DevBackendFeatures : BackendTest {
  void SetUp() override { start(); }

  Answer get(const std::string& path, const std::string& user = "institution") const {
    return client().get(path, {cookie(user)});
  }
  Answer post(const std::string& path, const std::string& body, const std::string& user = "institution") const {
    return client().post(path, body, {cookie(user)});
  }
  static std::string cookie(const std::string& user) { return "Cookie: lxauth=lxauth-" + user; }
};

TEST_F(DevBackendFeatures, SettingsAreKeptForEachUserMemberByMember) {
  const std::string brisca = "/api/configuration/brisca/v1/settings";
  EXPECT_EQ(post(brisca, R"({"briscaEnabled":false,"entryPointsConfig":{"inlineQuickReplyEnabled":true}})").status,
            200);
  EXPECT_EQ(get(brisca).body, R"({"briscaEnabled":false,"status":"ENABLED",)"
                              R"("entryPointsConfig":{"inlineRewriteEnabled":true,"inlineQuickReplyEnabled":true}})");
  EXPECT_EQ(get(brisca, "ordinary").json("briscaEnabled"), "true");
  EXPECT_EQ(client().get(brisca).status, 401);
  EXPECT_EQ(post("/api/configuration/language/v1/settings", "{}").status, 405);

  EXPECT_EQ(get("/properties/dialectStrong").body, "null");
  post("/properties/", R"({"dialectStrong":"british"})");
  post("/properties/", R"({"other":"1"})");
  EXPECT_EQ(get("/properties/dialectStrong").body, "british");
  EXPECT_EQ(get("/properties/").body, R"({"dialectStrong":"british","other":"1"})");
}

TEST_F(DevBackendFeatures, OrganisationsServeTheirMembersAlone) {
  EXPECT_EQ(get("/client-controls").json("clientControlsEnabled"), "true");
  EXPECT_THAT(get("/client-controls", "ordinary").body, HasSubstr(R"("dlpConfiguration":{"patterns":{}})"));
  EXPECT_EQ(get("/kiv/v1/institution/77/sg").json("name"), "House style");
  EXPECT_EQ(get("/kiv/v1/institution/77/sg/house/rules").status, 200);
  EXPECT_EQ(get("/kiv/v1/institution/88/sg").status, 403);
  EXPECT_EQ(get("/kiv/v1/institution//sg").status, 404);
  const std::string snippets = "/snippets/v1/snippets/institution/77";
  EXPECT_EQ(post(snippets, R"({"name":"a","content":"b","hierarchy":"GLOBAL"})").status, 201);
  EXPECT_EQ(post(snippets, R"({"name":"a","content":"b","hierarchy":"LOCAL"})").status, 400);
  EXPECT_EQ(post(snippets, R"({"name":"a","content":"b","hierarchy":"GLOBAL"})", "ordinary").status, 403);
}

TEST_F(DevBackendFeatures, DictationGivesTextAndAPlaceForTheRecording) {
  EXPECT_THAT(post("/api/murmura/issue-s2t-token", "").body, testing::SizeIs(43));
  EXPECT_EQ(post("/api/murmura/generate", R"({"transcription":"hello"})").json("uploadUrl"), "");
  const auto generated =
      post("/api/murmura/generate", R"({"transcription":"hello","contentLength":5,"contentMD5":"x"})");
  EXPECT_EQ(generated.json("text"), "HELLO");
  EXPECT_THAT(generated.json("uploadUrl"), testing::StartsWith("https://auth.lexiconia.com/murmura/uploads/"));
  const auto rate = R"({"feedbackKey":")" + generated.json("feedbackKey") + R"(","rating":1})";
  EXPECT_EQ(post("/api/murmura/feedback", rate).status, 200);
  EXPECT_EQ(post("/api/murmura/feedback", "{}").status, 400);
  const auto upload = [&](const std::string& digest) {
    return client().put("/murmura/uploads/1", "hello", {"Content-MD5: " + digest, "Content-Type: audio/m4a"}).status;
  };
  EXPECT_EQ(upload("XUFAKrxLKna5cZ2REBfFkg=="), 201);
  EXPECT_EQ(upload("AAAAAAAAAAAAAAAAAAAAAA=="), 400);
}

TEST_F(DevBackendFeatures, EmotionsHaveADateAndAnImage) {
  const auto date = client().head("/emoji/v1/joy.svg");
  EXPECT_EQ(date.header("Last-Modified"), "Sat, 01 Jun 2024 12:00:00 GMT");
  EXPECT_EQ(date.body, "");
  EXPECT_THAT(client().get("/emoji/v1/joy.2x.png").body, testing::StartsWith("\x89PNG"));
  EXPECT_EQ(client().get("/emoji/v1/joy.txt").status, 404);
}

}  // namespace
}  // namespace lx::test
