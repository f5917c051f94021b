#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lx/ToolRun.h"

namespace lx {
namespace {

using testing::HasSubstr;

/// The tool's run with a document of these operations.
ToolRun render(const std::string& operations, std::vector<std::string> options = {}) {
  const TemporaryFolder folder;
  const auto file = folder.file("document.json");
  std::ofstream(file) << "{\"ops\":[" << operations << "]}";
  options.insert(options.begin(), {"render", file});
  return runTool(std::move(options));
}

std::string line(const std::string& text, const std::string& attributes = "{}") {
  return R"({"insert":")" + text + R"("},{"insert":"\n","attributes":)" + attributes + "},";
}

const std::string notes =
    line("Notes <1>", R"({"header":1})") + line("one", R"({"list":"ordered"})") +
    line("deep", R"({"list":"ordered","indent":2})") + line("back", R"({"list":"ordered","indent":1})") +
    line("two", R"({"list":"ordered"})") + line("done", R"({"list":"checked"})") +
    line("日本\\u001b", R"({"list":"bullet"})") +
    R"({"insert":{"image":"x"}},{"insert":"end","attributes":{"bold":true,"link":"javascript:x"}})";

TEST(Render, PeopleSeeATreeWithTheNumbersThatTheyExpect) {
  EXPECT_EQ(render(notes).out, "# Notes <1>\n1. one\n    1. deep\n  1. back\n2. two\n[x] done\n• 日本?\n[image]end\n");
  EXPECT_EQ(render(R"({"delete":1})").out, "");
  // What would act on a terminal is not passed on, in whichever form it comes.
  EXPECT_EQ(render(R"({"insert":"a\u009b31m\u202eb\u2028c\tdé\r\n"})").out, "a?31m?b?c dé\n");
}

TEST(Render, ThePageNestsListsInTheirItems) {
  EXPECT_THAT(
      render(notes, {"--html"}).out,
      HasSubstr("<h1>Notes &lt;1&gt;</h1>\n<ol>\n<li>one<ol>\n<li class=\"level\"><ol>\n<li>deep</li>\n</ol>\n"
                "</li>\n<li value=\"1\">back</li>\n</ol>\n</li>\n<li>two</li>\n</ol>\n<ul class=\"checklist\">\n"
                "<li><input type=\"checkbox\" disabled checked> done</li>\n</ul>\n<ul>\n<li>日本 </li>\n</ul>\n"
                "<p><span class=\"embed\">[image]</span><strong>end</strong></p>\n</body>"));
  // The list of the second line is replaced in the first item by that of the third.
  EXPECT_THAT(render(line("a", R"({"list":"ordered"})") + line("deep", R"({"list":"bullet","indent":2})") +
                         line("b", R"({"list":"checked","indent":1})") + line("c", R"({"list":"ordered"})") +
                         R"({"insert":"end"})",
                     {"--html"})
                  .out,
              HasSubstr("<ol>\n<li>a<ul>\n<li>deep</li>\n</ul>\n<ul class=\"checklist\">\n<li><input type=\"checkbox\" "
                        "disabled checked> b</li>\n</ul>\n</li>\n<li>c</li>\n</ol>\n<p>end</p>"));
}

TEST(Render, ProgramsGetLinesAndNumberedLists) {
  EXPECT_EQ(
      render(line("a", R"({"header":2,"x":"日本"})") + line("b", R"({"list":"bullet"})") +
                 line("c", R"({"list":"checked","indent":2})") + R"({"insert":"d"})",
             {"--json"})
          .out,
      R"({"linesRange":[0,4],"lines":[{"index":0,"type":"heading","indent":0,"attributes":{"header":2,"x":"日本"},"level":2},)"
      R"({"index":1,"type":"listItem","indent":0,"attributes":{"list":"bullet"},"list":0,"indexInList":1},)"
      R"({"index":2,"type":"listItem","indent":2,"attributes":{"indent":2,"list":"checked"},"list":1,"indexInList":1},)"
      R"({"index":3,"type":"body","indent":0,"attributes":{}}],)"
      R"("lists":[{"id":0,"indent":0,"parent":null,"items":[{"type":"bullet","nested":2}]},)"
      R"({"id":1,"indent":2,"parent":2,"items":[{"type":"checklist","nested":null}]},)"
      R"({"id":2,"indent":1,"parent":0,"items":[{"type":"checklist","nested":1}]}]})"
      "\n");
}

TEST(Render, BadDocumentsAreTypedErrors) {
  const auto run = render(R"({"insert":"a"},{"retain":-1})", {"--json"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err,
            "{\"error\":{\"type\":\"DecodingError.outOfRange\",\"code\":null,\"message\":\"ops[1].retain: out of "
            "range\"}}\n");
  EXPECT_EQ(runTool({"render", "/nowhere", "--json"}).status, 1);
  EXPECT_THAT(runTool({"render", "-"}).err, HasSubstr("byte 0: malformed"));
}

}  // namespace
}  // namespace lx
