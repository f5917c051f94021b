#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "process/ChildProcess.h"
#include "support/LoopbackServer.h"

namespace lx {
namespace {

using support::LoopbackServer;
using ::testing::ElementsAre;

struct Runtimes : testing::Test {
  std::vector<std::string> linesOf(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), LX_SYSTEM_PROBE);
    arguments.push_back(server.url("/"));
    ChildProcess probe(std::move(arguments));
    std::vector<std::string> lines;
    do lines.push_back(probe.readLine());
    while (lines.back() != "(ended)" && lines.back() != "(late)");
    return lines;
  }

  LoopbackServer server{
      [](const LoopbackServer::Request&) { return LoopbackServer::Reply{support::response("200 OK", "", "ok")}; }};
};

TEST_F(Runtimes, FailEachCallThatNeedsWhatTheSystemRefusesAndRecoverWithTheNext) {
  EXPECT_THAT(linesOf({"starve", "threads"}),
              ElementsAre("RuntimeError.noThread", "RuntimeError.noThread", "ok", "ok", "ok", "ran", "(ended)"));
  EXPECT_THAT(linesOf({"starve", "descriptors"}),
              ElementsAre("RuntimeError.noDescriptor", "RuntimeError.noDescriptor", "ok",
                          "URLSessionError.cannotConnect", "ok", "ran", "(ended)"));
}

TEST_F(Runtimes, OfAParentFailInAForkedChildWhichLeavesAtOnceAndDisturbsNothing) {
  EXPECT_THAT(linesOf({"fork", "inherited"}), ElementsAre("ok", "ok", "RuntimeError.forked", "TaskError.cancelled",
                                                          "TaskError.cancelled", "exit 0", "ok", "(ended)"));
  EXPECT_EQ(server.connections(), 1);  // still the parent's
}

TEST_F(Runtimes, OfAForkedChildServeWhatItMakesItself) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "The thread sanitizer supports no threads in forked children";
#endif
  EXPECT_THAT(linesOf({"fork", "own"}), ElementsAre("ok", "ok", "ok", "ok", "ok", "exit 0", "ok", "(ended)"));
  EXPECT_EQ(server.connections(), 2);
}

TEST_F(Runtimes, OpenNoDescriptorThatAProgramInherits) {
  EXPECT_THAT(linesOf({"spawn"}), ElementsAre("ok", "open", "(ended)"));
}

}  // namespace
}  // namespace lx
