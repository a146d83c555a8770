// Pictures written where writing fails: a full disk, a folder the writer may
// not write to, a destination that is a device. What was there before must
// survive every failure, and no stray file may be left beside it. Each write
// that should fail runs in a child process, under a file-size limit or as
// another user, so the suite itself keeps its own limits.

#include "support/LogCapture.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// Random bytes compress badly: its PNG is far over the child's limit.
std::shared_ptr<LMPicture> noisePicture(int side = 128)
{
    auto bitmap = newBIR(side, side);
    uint32_t state = 12345;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side * 4; ++x) {
            state = state * 1664525 + 1013904223;
            bitmap->rowAt(y)[x] = uint8_t(x % 4 == 3 ? 255 : state >> 24);
        }
    return LMPicture::pictureWithBitmap(bitmap);
}

std::string contents(const fs::path& path)
{
    std::stringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

// The exit status of `body` run in a child process.
int inChild(const std::function<bool()>& body)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(body() ? 0 : 1);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool writeAs(const std::shared_ptr<LMPicture>& picture, const fs::path& path, bool jpeg)
{
    return jpeg ? picture->writeJPEGToFile(path) : picture->writePNGToFile(path);
}

class FileWriteTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        fs::remove_all(dir_);
        fs::create_directories(dir_);
    }
    void TearDown() override
    {
        fs::permissions(dir_, fs::perms::owner_all);
        fs::remove_all(dir_);
    }

    // Every name in the folder: a stray temporary file shows here.
    std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(dir_))
            found.push_back(entry.path().filename().string());
        std::sort(found.begin(), found.end());
        return found;
    }

    const fs::path dir_ = fs::path(testing::TempDir()) /
                          ("lumetra_write_" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
};

TEST_F(FileWriteTest, AFullDiskLeavesTheFileThatWasThere)
{
    for (bool jpeg : {false, true}) {
        SCOPED_TRACE(jpeg ? "JPEG" : "PNG");
        const fs::path path = dir_ / (jpeg ? "kept.jpg" : "kept.png");
        ASSERT_TRUE(writeAs(noisePicture(8), path, jpeg));
        const std::string before = contents(path);
        // A limit just over the old file: the new one cannot be written.
        const int status = inChild([&] {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit{before.size() + 1024, before.size() + 1024};
            setrlimit(RLIMIT_FSIZE, &limit);
            LogCapture log;
            const bool written = writeAs(noisePicture(), path, jpeg);
            const auto lines = log.lines();
            return !written && lines.size() == 1 &&
                   lines[0] == "LMPicture: Cannot write " + path.string() + ": File too large";
        });
        EXPECT_EQ(status, 0) << "the write did not fail with one line";
        EXPECT_TRUE(contents(path) == before) << "the file that was there changed";
        for (const std::string& name : names())
            EXPECT_TRUE(name == "kept.png" || name == "kept.jpg") << name << " left behind";
    }
}

TEST_F(FileWriteTest, AFolderTheWriterMayNotWriteToLeavesTheFileAsItWas)
{
    const fs::path path = dir_ / "kept.png";
    ASSERT_TRUE(noisePicture(8)->writePNGToFile(path));
    fs::permissions(path, fs::perms::all & ~(fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec));
    const std::string before = contents(path);
    // Anyone may write the file, nobody the folder; a privileged child,
    // whom permissions do not stop, becomes an ordinary user first.
    fs::permissions(dir_, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::group_read |
                              fs::perms::group_exec | fs::perms::others_read | fs::perms::others_exec);
    const int status = inChild([&] {
        if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0))
            return false;
        LogCapture log;
        const bool written = noisePicture()->writePNGToFile(path);
        const auto lines = log.lines();
        return !written && lines.size() == 1 &&
               lines[0] == "LMPicture: Cannot write " + path.string() + ": Permission denied";
    });
    EXPECT_EQ(status, 0) << "the write did not fail with one line";
    EXPECT_TRUE(contents(path) == before) << "the file that was there changed";
    EXPECT_EQ(names(), std::vector<std::string>{"kept.png"});
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
        full = "/dev/full";
        null = "/dev/null";
    }
    LogCapture log;
    EXPECT_FALSE(noisePicture()->writePNGToFile(full));
    EXPECT_TRUE(noisePicture()->writePNGToFile(null));
    EXPECT_TRUE(noisePicture()->writeJPEGToFile(null));
    EXPECT_TRUE(fs::is_character_file(full));
    EXPECT_TRUE(fs::is_character_file(null));
    for (const std::string& name : names())
        EXPECT_TRUE(name == "full.png" || name == "null.png") << name << " left behind";
    EXPECT_EQ(log.lines(), std::vector<std::string>{"LMPicture: Cannot write " + full.string() +
                                                    ": No space left on device"});
}

TEST_F(FileWriteTest, AReplacedFileKeepsItsModeItsLinkAndTakesAnyLegalName)
{
    const fs::path path = dir_ / "private.png";
    ASSERT_TRUE(noisePicture(8)->writePNGToFile(path));
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    // A link to the file: the file is replaced, the link stays a link.
    fs::create_symlink("private.png", dir_ / "link.png");
    ASSERT_TRUE(noisePicture(16)->writePNGToFile(dir_ / "link.png"));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    EXPECT_TRUE(fs::is_symlink(dir_ / "link.png"));
    auto read = LMPicture::pictureWithContentsOfFile(path);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->size(), (LMSize{16, 16}));

    // NAME_MAX is 255: the temporary name beside a long one must fit too.
    const fs::path longest = dir_ / (std::string(251, 'n') + ".png");
    EXPECT_TRUE(noisePicture(8)->writePNGToFile(longest));
    EXPECT_TRUE(fs::is_regular_file(longest));
    EXPECT_EQ(names().size(), 3u);
}

} // namespace
