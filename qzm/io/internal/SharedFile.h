#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace QZM::internal {

/// What tells one version of a regular file from another: all zero for any other file, which
/// therefore never matches.
struct FileIdentity {
    uint64_t device = 0, inode = 0, size = 0;
    int64_t seconds = 0, nanoseconds = 0;
    bool IsRegular() const { return inode != 0; }
    bool operator==(const FileIdentity& o) const {
        return device == o.device && inode == o.inode && size == o.size && seconds == o.seconds &&
               nanoseconds == o.nanoseconds;
    }
};

/// A file opened once and read by several streams, each at its own offset: transfers go through
/// the descriptor with pread and pwrite, so no stream moves another's position and stdio's buffer
/// is never filled. The last holder to release it closes it. The count is atomic because a music
/// stream may read its member in the audio thread while the game opens other members.
class SharedFile {
public:
    /// Opens path with an fopen mode string; null when that fails (errno tells why) or memory
    /// runs out. The caller holds the one reference.
    static SharedFile* Open(const char* path, const char* how);

    void Retain() { refs.fetch_add(1, std::memory_order_relaxed); }
    void Release();

    FILE* Handle() const { return file; }
    /// The file's size when it was opened.
    uint64_t Size() const { return size; }
    /// True while path still names this very file, unchanged in size and modification time: a
    /// holder that reopens by path when this is false reads what the path names now.
    bool StillAt(const char* path) const;

    /// Bytes read at offset: fewer at the end of the file, which sets ended, or on an error.
    size_t ReadAt(void* buf, size_t n, uint64_t offset, bool& ended) const;
    /// Bytes written at offset: fewer when the disk is full or on an error.
    size_t WriteAt(const void* buf, size_t n, uint64_t offset) const;

    SharedFile(const SharedFile&) = delete;
    SharedFile& operator=(const SharedFile&) = delete;

private:
    SharedFile(FILE* file, uint64_t size, const FileIdentity& identity)
        : file(file), size(size), identity(identity), refs(1) {}
    ~SharedFile();

    FILE* file;
    uint64_t size;
    FileIdentity identity;
    std::atomic<uint32_t> refs;
};

} // namespace QZM::internal
