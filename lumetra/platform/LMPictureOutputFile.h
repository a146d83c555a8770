#pragma once

#include <cstdio>
#include <string>

// Where a picture writer's bytes go, so that a failed write never costs what
// the destination held. A regular file, or a name not yet taken, is written
// to a new file beside it and renamed into place only once every byte is
// out; a failure removes that new file and nothing else. The new file gets
// the replaced file's permissions (and its owner, where the process may give
// it), or the usual ones under the umask. A replaced file's other hard links
// keep the old contents: the name gets a new file, not new bytes in the old
// one. A symbolic link to a file replaces the file it points to and stays a
// link. Anything else that exists (a device such as /dev/null, a FIFO) is
// written in place and never removed; a folder is refused.
class LMPictureOutputFile {
public:
    explicit LMPictureOutputFile(std::string path);
    ~LMPictureOutputFile();

    LMPictureOutputFile(const LMPictureOutputFile&) = delete;
    LMPictureOutputFile& operator=(const LMPictureOutputFile&) = delete;

    // The stream to write to; null with the reason in `error`.
    std::FILE* open(std::string& error);
    // Closes the stream and, when `written`, puts the file in place. False
    // with the reason in `error` (unchanged when `written` was false already)
    // when anything failed; then only our own new file has been removed.
    bool commit(bool written, std::string& error);

private:
    // The name beside `target_` that a write goes to first: hidden, at most
    // NAME_MAX bytes however long the final name is.
    std::string temporaryName(unsigned attempt) const;
    void discard();

    std::string path_;
    std::string target_;
    std::string temporary_;
    std::FILE* file_ = nullptr;
    bool inPlace_ = false;
};
