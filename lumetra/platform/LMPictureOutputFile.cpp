#include "lumetra/platform/LMPictureOutputFile.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::atomic<unsigned> writesStarted{0};

std::string errorText(int number)
{
    return std::strerror(number);
}

} // namespace

LMPictureOutputFile::LMPictureOutputFile(std::string path) : path_(std::move(path)), target_(path_)
{}

LMPictureOutputFile::~LMPictureOutputFile()
{
    // Left open only when the writer never committed, which is a failure.
    if (file_)
        discard();
}

std::string LMPictureOutputFile::temporaryName(unsigned attempt) const
{
    const size_t slash = target_.find_last_of('/');
    const std::string folder = slash == std::string::npos ? std::string() : target_.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? target_ : target_.substr(slash + 1);
    const std::string suffix = ".partial-" + std::to_string(getpid()) + "-" + std::to_string(attempt);
    // "." + name + suffix within NAME_MAX: long names lose their end, which
    // only the temporary name shows.
    const size_t room = NAME_MAX - 1 - suffix.size();
    return folder + "." + name.substr(0, room) + suffix;
}

std::FILE* LMPictureOutputFile::open(std::string& error)
{
    struct stat existing {};
    const bool exists = ::stat(path_.c_str(), &existing) == 0;
    if (exists && S_ISDIR(existing.st_mode)) {
        error = "it is a folder";
        return nullptr;
    }
    if (exists && !S_ISREG(existing.st_mode)) {
        // A device or a FIFO: renaming a file over it would remove it.
        inPlace_ = true;
        file_ = std::fopen(path_.c_str(), "wb");
        if (!file_)
            error = errorText(errno);
        return file_;
    }
    // Through a link, the file it names is replaced and the link kept.
    if (exists) {
        if (char* resolved = ::realpath(path_.c_str(), nullptr)) {
            target_ = resolved;
            std::free(resolved);
        }
    }

    int descriptor = -1;
    for (unsigned attempt = 0; attempt < 100 && descriptor < 0; ++attempt) {
        temporary_ = temporaryName(writesStarted.fetch_add(1, std::memory_order_relaxed));
        // 0666 under the umask, as any new file; a replaced file's own
        // permissions are copied below.
        descriptor = ::open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor < 0 && errno != EEXIST)
            break;
    }
    if (descriptor < 0) {
        error = errorText(errno);
        temporary_.clear();
        return nullptr;
    }
    if (exists) {
        // Ownership first: giving a file away clears its set-id bits. Only a
        // privileged process may give it to another user; a group it may.
        if (existing.st_uid != ::geteuid() || existing.st_gid != ::getegid())
            (void)!::fchown(descriptor, existing.st_uid, existing.st_gid);
        ::fchmod(descriptor, existing.st_mode & 07777);
    }
    file_ = ::fdopen(descriptor, "wb");
    if (!file_) {
        error = errorText(errno);
        ::close(descriptor);
        ::unlink(temporary_.c_str());
        temporary_.clear();
    }
    return file_;
}

bool LMPictureOutputFile::commit(bool written, std::string& error)
{
    if (!file_)
        return false;
    // A full disk shows only when the buffered rest is flushed.
    std::FILE* file = file_;
    file_ = nullptr;
    if (std::fclose(file) != 0 && written) {
        written = false;
        error = errorText(errno);
    }
    if (inPlace_)
        return written;
    if (written && ::rename(temporary_.c_str(), target_.c_str()) != 0) {
        written = false;
        error = errorText(errno);
    }
    if (!written)
        ::unlink(temporary_.c_str());
    temporary_.clear();
    return written;
}

void LMPictureOutputFile::discard()
{
    std::fclose(file_);
    file_ = nullptr;
    if (!inPlace_ && !temporary_.empty())
        ::unlink(temporary_.c_str());
    temporary_.clear();
}
