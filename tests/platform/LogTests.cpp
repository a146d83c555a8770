#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <thread>

// printf-style formatting, one line per message whatever newline the format
// ends with, to the sink while one is set and to standard error after.
TEST(LMLog, FormatsOneLinePerMessageForTheSinkOrStandardError)
{
    LogCapture capture;
    LMLog("LMContext: Maximum texture size: %i", 16384);
    LMLog("plain line\n");
    LMLog("%s and %.1f", "text", 2.5);
    EXPECT_EQ(capture.lines(),
              (std::vector<std::string>{"LMContext: Maximum texture size: 16384", "plain line", "text and 2.5"}));
    LMSetLogSink({});
    testing::internal::CaptureStderr();
    LMLog("to standard error %d\n", 7);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "to standard error 7\n");
}

// The sink is called one line at a time, so a sink with no lock of its own
// gets every line, in each thread's order.
TEST(LMLog, CallsTheSinkOneLineAtATimeFromManyThreads)
{
    std::vector<std::string> lines;
    LMSetLogSink([&](const std::string& line) { lines.push_back(line); });
    std::vector<std::thread> writers;
    for (int t = 0; t < 4; ++t)
        writers.emplace_back([t] {
            for (int i = 0; i < 300; ++i)
                LMLog("writer %d line %d", t, i);
        });
    for (auto& writer : writers)
        writer.join();
    LMSetLogSink({});
    ASSERT_EQ(lines.size(), 4u * 300u);
    std::vector<int> next(4, 0);
    for (const auto& line : lines) {
        int t = -1, i = -1;
        ASSERT_TRUE(std::sscanf(line.c_str(), "writer %d line %d", &t, &i) == 2 && t >= 0 && t < 4) << line;
        EXPECT_EQ(i, next[t]++) << "lines of one thread arrive in order";
    }
}
