#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <thread>

// printf-style formatting, one line per message whatever newline the format
// ends with; a compiler's log of several lines quoted in a message stays one line.
TEST(LMLog, FormatsEachMessageAsOneLine)
{
    LogCapture capture;
    LMLog("LMContext: Maximum texture size: %i", 16384);
    LMLog("%s and %.1f\n", "text", 2.5);
    LMLog("failed: 0:1(2): error: a\n0:3(4): error: b\r\n\n");
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{"LMContext: Maximum texture size: 16384", "text and 2.5",
                                                         "failed: 0:1(2): error: a; 0:3(4): error: b"}));
}

TEST(LMLog, WritesToStandardErrorWithoutASink)
{
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

// A sink may log (that line goes to standard error rather than back into the
// sink) and may install another sink; neither deadlocks.
TEST(LMLog, LetsASinkLogAndReplaceItself)
{
    std::vector<std::string> first, second;
    LMSetLogSink([&](const std::string& line) {
        first.push_back(line);
        LMLog("logged by the sink");
        LMSetLogSink([&](const std::string& next) { second.push_back(next); });
    });
    testing::internal::CaptureStderr();
    LMLog("one");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "logged by the sink\n");
    LMLog("two");
    LMSetLogSink({});
    EXPECT_EQ(first, std::vector<std::string>{"one"});
    EXPECT_EQ(second, std::vector<std::string>{"two"});
}
