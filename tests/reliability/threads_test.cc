// Operators on eight threads at once: each thread its own error state, the bytes of a lone run.
#include "reliability/calls.h"

#include <barrier>
#include <thread>

namespace {

constexpr int kThreads = 8, kRounds = 6;

TEST(Threads, EightOperatorsAtOnceMatchOneThread) {
  const auto& cases = kr::Cases();
  std::vector<kr::Result> expected;
  for (const auto& c : cases) {
    expected.push_back(kr::Run(c));
    EXPECT_TRUE(expected.back().error == 0 && expected.back().guards) << c.name;  // alone, for a readable failure
  }

  // Thread t runs the cases t, t + 8, ..., so no operator runs twice at once. After each round every thread leaves
  // an error state of its own (odd threads a failure), waits for all the others, and reads its own back.
  std::barrier sync(kThreads);
  std::vector<std::string> failures(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      ZImage<ZBW8> small(3, 3);
      for (int round = 0; round < kRounds; ++round) {
        sync.arrive_and_wait();
        for (size_t i = static_cast<size_t>(t); i < cases.size(); i += kThreads) {
          const kr::Result r = kr::Run(cases[i]);
          if (!(r == expected[i]) || !r.guards) failures[t] += std::string(cases[i].name) + "; ";
        }
        LumCopy(&kr::Shared().bw8, t % 2 == 1 ? static_cast<ZROI<ZBW8>*>(&small) : kr::Outputs().bw8.get());
        sync.arrive_and_wait();
        const std::vector<std::string> trace = kt::Trace();
        if (t % 2 == 1 && (ZGetError() != Z_ERROR_DIFFERENT_SIZES || trace != std::vector<std::string>{"LumCopy ( BW8 Image to Image)"}))
          failures[t] += "foreign error state; ";
        if (t % 2 == 0 && (ZGetError() != Z_ERROR_NONE || !trace.empty())) failures[t] += "error state not its own; ";
      }
    });
  for (auto& th : threads) th.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(failures[t], "") << "thread " << t;
}

}  // namespace
