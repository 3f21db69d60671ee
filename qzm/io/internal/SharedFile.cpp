#include <qzm/io/internal/SharedFile.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>

namespace QZM::internal {

namespace {

FileIdentity IdentityOf(const struct stat& st) {
    FileIdentity id;
    if (!S_ISREG(st.st_mode)) return id;
    id.device = uint64_t(st.st_dev);
    id.inode = uint64_t(st.st_ino);
    id.size = uint64_t(st.st_size);
    id.seconds = int64_t(st.st_mtim.tv_sec);
    id.nanoseconds = int64_t(st.st_mtim.tv_nsec);
    return id;
}

FileIdentity IdentityOf(FILE* file) {
    struct stat st;
    return fstat(fileno(file), &st) == 0 ? IdentityOf(st) : FileIdentity();
}

// Where a seek to the end lands; a regular file's status tells without a seek. A file that
// cannot be measured gives no range to open, as one that measures 0.
uint64_t SizeOf(FILE* file, const FileIdentity& id) {
    if (id.IsRegular()) return id.size;
    const off_t end = lseek(fileno(file), 0, SEEK_END);
    return end > 0 ? uint64_t(end) : 0;
}

} // namespace

SharedFile* SharedFile::Open(const char* path, const char* how) {
    // Archives keep their file open for as long as they live: not for programs the game starts.
    char closeOnExec[8];
    snprintf(closeOnExec, sizeof closeOnExec, "%se", how);
    FILE* file = fopen(path, closeOnExec);
    if (!file) return nullptr;
    const FileIdentity id = IdentityOf(file);
    SharedFile* shared = new (std::nothrow) SharedFile(file, SizeOf(file, id), id);
    if (!shared) {
        fclose(file);
        errno = ENOMEM;
    }
    return shared;
}

SharedFile::~SharedFile() { fclose(file); }

bool SharedFile::StillAt(const char* path) const {
    struct stat st;
    return identity.IsRegular() && stat(path, &st) == 0 && IdentityOf(st) == identity;
}

void SharedFile::Release() {
    if (refs.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

size_t SharedFile::ReadAt(void* buf, size_t n, uint64_t offset, bool& ended) const {
    unsigned char* out = static_cast<unsigned char*>(buf);
    size_t done = 0;
    while (done < n) {
        ssize_t got = pread(fileno(file), out + done, n - done, off_t(offset + done));
        if (got > 0) {
            done += size_t(got);
        } else if (got == 0) {
            ended = true;
            break;
        } else if (errno != EINTR) {
            break;
        }
    }
    return done;
}

size_t SharedFile::WriteAt(const void* buf, size_t n, uint64_t offset) const {
    const unsigned char* in = static_cast<const unsigned char*>(buf);
    size_t done = 0;
    while (done < n) {
        ssize_t put = pwrite(fileno(file), in + done, n - done, off_t(offset + done));
        if (put > 0) done += size_t(put);
        else if (put == 0 || errno != EINTR) break;
    }
    return done;
}

} // namespace QZM::internal
