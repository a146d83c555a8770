#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <thread>

// printf-style formatting, one line per message whatever newline the format
// ends with, to the sink while one is set and to standard error after.
TEST(LMLog, FormatsOneLinePerMessageForTheSinkOrStandardError)
{
    {
        LogCapture capture;
        LMLog("LMContext: Maximum texture size: %i", 16384);
        LMLog("plain line\n");
        LMLog("%s and %.1f", "text", 2.5);
        EXPECT_EQ(capture.lines(),
                  (std::vector<std::string>{"LMContext: Maximum texture size: 16384", "plain line", "text and 2.5"}));
    }
    testing::internal::CaptureStderr();
    LMLog("to standard error %d\n", 7);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "to standard error 7\n");
}

TEST(LMLog, LinesFromManyThreadsArriveWholeAndInOrder)
{
    LogCapture capture;
    constexpr int threads = 4, perThread = 300;
    std::vector<std::thread> writers;
    for (int t = 0; t < threads; ++t) {
        writers.emplace_back([t] {
            for (int i = 0; i < perThread; ++i)
                LMLog("writer %d line %d with a tail long enough to tear if unguarded", t, i);
        });
    }
    for (auto& writer : writers)
        writer.join();

    const auto lines = capture.lines();
    ASSERT_EQ(lines.size(), static_cast<size_t>(threads * perThread));
    std::vector<int> next(threads, 0);
    for (const auto& line : lines) {
        int t = -1, i = -1;
        ASSERT_EQ(std::sscanf(line.c_str(), "writer %d line %d", &t, &i), 2) << line;
        ASSERT_TRUE(line.ends_with("with a tail long enough to tear if unguarded")) << line;
        EXPECT_EQ(i, next[t]++) << "lines of one thread arrive in order";
    }
}
