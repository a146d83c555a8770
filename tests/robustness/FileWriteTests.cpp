// Pictures written where writing fails. What was there before must survive
// every failure, with one log line and no stray file beside it. A write that
// should fail runs in a child process, under a file-size limit or as another
// user, so that the suite keeps its own limits.

#include "support/LogCapture.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr fs::perms writable = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;

// Random bytes compress badly: far over any limit below.
std::shared_ptr<LMPicture> noisePicture(int side)
{
    auto bitmap = newBIR(side, side);
    uint32_t state = 12345;
    for (int i = 0; i < side * side * 4; ++i)
        bitmap->rowAt(i / (side * 4))[i % (side * 4)] =
            uint8_t(i % 4 == 3 ? 255 : (state = state * 1664525 + 1013904223) >> 24);
    return LMPicture::pictureWithBitmap(bitmap);
}

std::string contents(const fs::path& path)
{
    std::stringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

bool writeAs(const fs::path& path, int side = 128)
{
    return path.extension() == ".jpg" ? noisePicture(side)->writeJPEGToFile(path)
                                      : noisePicture(side)->writePNGToFile(path);
}

class FileWriteTest : public ::testing::Test {
protected:
    void SetUp() override { fs::remove_all(dir_), fs::create_directories(dir_); }
    void TearDown() override { fs::permissions(dir_, fs::perms::owner_all), fs::remove_all(dir_); }

    // Names in the folder other than `expected`: a stray temporary file shows.
    void expectOnly(const std::set<std::string>& expected) const
    {
        for (const auto& entry : fs::directory_iterator(dir_))
            EXPECT_TRUE(expected.count(entry.path().filename().string())) << entry.path() << " left behind";
    }

    const fs::path dir_ =
        fs::path(testing::TempDir()) / ("lumetra_write_" + std::to_string(::getpid()) + "_" +
                                        std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
};

// The failing write runs in the tool, started afresh in the child: a
// process that has written pictures must not write them again in a forked
// child without exec (the picture library's worker threads stay behind).
TEST_F(FileWriteTest, AFailedWriteLeavesTheFileThatWasThere)
{
#ifndef LUMETRA_TOOL
    GTEST_SKIP() << "the tool is not built";
#else
    struct Case {
        std::string name, reason;
        std::function<void(const std::string& old)> limit; // in the child, before it writes
    };
    // A full disk: a limit just over the old file.
    auto fileSizeLimit = [](const std::string& old) {
        const rlimit limit{old.size() + 1024, old.size() + 1024};
        std::signal(SIGXFSZ, SIG_IGN), setrlimit(RLIMIT_FSIZE, &limit);
    };
    const Case cases[] = {
        {"full.png", "File too large", fileSizeLimit},
        {"full.jpg", "File too large", fileSizeLimit},
        // A folder nobody may write to, holding a file anybody may write:
        // a privileged child, whom permissions do not stop, gives them up.
        {"readonly.png", "Permission denied",
         [this](const std::string&) {
             fs::permissions(dir_, fs::perms::all & ~writable);
             if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0))
                 _exit(2);
         }},
    };
    const fs::path noise = dir_ / "noise.png";
    ASSERT_TRUE(noisePicture(128)->writePNGToFile(noise));
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        const fs::path path = dir_ / test.name, said = fs::path(testing::TempDir()) /
                                                       ("lumetra_write_said_" + std::to_string(::getpid()) + ".txt");
        ASSERT_TRUE(writeAs(path, 8));
        fs::permissions(path, fs::perms(0666));
        const std::string old = contents(path);
        const pid_t child = fork();
        if (child == 0) {
            const int err = ::open(said.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
            test.limit(old), dup2(err, 2);
            execl(LUMETRA_TOOL, "lumetra", noise.c_str(), "-o", path.c_str(), "--", "invert", nullptr);
            _exit(3);
        }
        int status = 0;
        waitpid(child, &status, 0), fs::permissions(dir_, fs::perms::owner_all);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << "the write did not fail";
        EXPECT_EQ(contents(said), "lumetra: Cannot write " + path.string() + ": " + test.reason + "\n");
        EXPECT_TRUE(contents(path) == old) << "the file that was there changed";
        fs::remove(said);
    }
    expectOnly({"full.png", "full.jpg", "readonly.png", "noise.png"});
#endif
}

TEST_F(FileWriteTest, ADeviceIsWrittenInPlaceAndNeverRemoved)
{
    // Devices of our own where the process may make them, so that a
    // regression cannot remove the machine's; a process that may not make
    // them may not remove the machine's either.
    fs::path full = dir_ / "full.png", null = dir_ / "null.png";
    if (mknod(full.c_str(), S_IFCHR | 0666, makedev(1, 7)) != 0 ||
        mknod(null.c_str(), S_IFCHR | 0666, makedev(1, 3)) != 0) {
        ASSERT_NE(access("/dev", W_OK), 0);
        full = "/dev/full", null = "/dev/null";
    }
    LogCapture log;
    EXPECT_FALSE(writeAs(full));
    EXPECT_TRUE(writeAs(null) && noisePicture(128)->writeJPEGToFile(null));
    EXPECT_TRUE(fs::is_character_file(full) && fs::is_character_file(null));
    expectOnly({"full.png", "null.png"});
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{"LMPicture: Cannot write " + full.string() + ": No space left on device"});
}

TEST_F(FileWriteTest, AReplacedFileKeepsItsModeAndItsLink)
{
    const fs::path path = dir_ / "private.png";
    const fs::perms mode = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;
    ASSERT_TRUE(writeAs(path, 8));
    fs::permissions(path, mode), fs::create_symlink("private.png", dir_ / "link.png");
    // Written through a link: the file is replaced, the link stays a link.
    ASSERT_TRUE(writeAs(dir_ / "link.png", 16));
    EXPECT_EQ(fs::status(path).permissions(), mode);
    EXPECT_TRUE(fs::is_symlink(dir_ / "link.png"));
    auto read = LMPicture::pictureWithContentsOfFile(path);
    EXPECT_TRUE(read && read->size() == (LMSize{16, 16}));
    expectOnly({"private.png", "link.png"});
}

// NAME_MAX is 255: the temporary name beside the longest name must fit too.
TEST_F(FileWriteTest, TheLongestLegalNameIsWritten)
{
    const std::string longest = std::string(251, 'n') + ".png";
    EXPECT_TRUE(writeAs(dir_ / longest, 8));
    expectOnly({longest});
}

} // namespace
