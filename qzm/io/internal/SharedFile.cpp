#include <qzm/io/internal/SharedFile.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>

namespace QZM::internal {

namespace {

// Where a seek to the end lands; a regular file's status tells without a seek. A file that
// cannot be measured gives no range to open, as one that measures 0.
uint64_t SizeOf(FILE* file) {
    const int fd = fileno(file);
    struct stat st;
    if (fstat(fd, &st) == 0 && S_ISREG(st.st_mode)) return uint64_t(st.st_size);
    const off_t end = lseek(fd, 0, SEEK_END);
    return end > 0 ? uint64_t(end) : 0;
}

} // namespace

SharedFile* SharedFile::Open(const char* path, const char* how) {
    // Archives keep their file open for as long as they live: not for programs the game starts.
    char closeOnExec[8];
    snprintf(closeOnExec, sizeof closeOnExec, "%se", how);
    FILE* file = fopen(path, closeOnExec);
    if (!file) return nullptr;
    SharedFile* shared = new (std::nothrow) SharedFile(file, SizeOf(file));
    if (!shared) {
        fclose(file);
        errno = ENOMEM;
    }
    return shared;
}

SharedFile::~SharedFile() { fclose(file); }

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
