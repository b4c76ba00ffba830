// Different operators on eight threads at once over shared sources, each thread with its own
// destinations: every thread sees its own error state and trace, and the same bytes as a run on
// one thread.
#include "reliability/calls.h"

#include <atomic>
#include <thread>

namespace {

constexpr int kThreads = 8, kRounds = 6;

TEST(Threads, EightOperatorsAtOnceMatchOneThread) {
  const auto& cases = kr::Cases();
  std::vector<kr::Result> expected;
  for (const auto& c : cases) expected.push_back(kr::Run(c));

  // Thread t runs the cases t, t + 8, ... so that no operator runs on two threads at once, and
  // between them a call that fails, whose error and trace must stay the thread's own.
  std::atomic<int> ready{0};
  std::vector<std::string> failures(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      ready.fetch_add(1);
      while (ready.load() < kThreads) std::this_thread::yield();
      ZImage<ZBW8> small(3, 3);
      for (int round = 0; round < kRounds; ++round)
        for (size_t i = static_cast<size_t>(t); i < cases.size(); i += kThreads) {
          const kr::Result r = kr::Run(cases[i]);
          if (!(r == expected[i]) || !r.guards) failures[t] += std::string(cases[i].name) + "; ";
          if (t % 2 == 1) {
            LumCopy(&kr::Shared().bw8, &small);  // sizes differ
            if (ZGetError() != Z_ERROR_DIFFERENT_SIZES || kt::Trace() != std::vector<std::string>{"LumCopy ( BW8 Image to Image)"})
              failures[t] += "foreign error state; ";
          }
          LumCopy(&kr::Shared().bw8, kr::Outputs().bw8.get());
          if (ZGetError() != Z_ERROR_NONE || ZGetTraceCount() != 0) failures[t] += "error state not cleared; ";
        }
    });
  for (auto& th : threads) th.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(failures[t], "") << "thread " << t;
}

// Each case on its own, for a readable failure when a call itself misbehaves.
TEST(Threads, ReferenceRunsKeepTheirGuards) {
  for (const auto& c : kr::Cases()) {
    const kr::Result r = kr::Run(c);
    EXPECT_TRUE(r.guards) << c.name;
    EXPECT_EQ(r.error, 0) << c.name;
  }
}

}  // namespace
