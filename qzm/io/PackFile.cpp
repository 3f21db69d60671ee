#include <qzm/io/PackFile.h>

#include <qzm/core/Log.h>
#include <qzm/io/internal/SharedFile.h>
#include <qzm/io/internal/Stdio.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <new>

using namespace QZM::internal;

namespace {

// Highest absolute offset that both pos and a seek's long can hold (2 GiB - 1 on 32-bit x86):
// positions beyond it are refused as seek errors, whatever the file holds.
constexpr uint64_t kMaxOffset = uint64_t(LONG_MAX) < UINT32_MAX ? uint64_t(LONG_MAX) : UINT32_MAX;

// Capacity of the window that serves small reads.
constexpr uint32_t kWindowBytes = 8192;

} // namespace

QZMPackFile::QZMPackFile()
    : fileName(nullptr), file(nullptr), start(0), end(0), pos(0), shared(nullptr), window(nullptr),
      windowCapacity(0), windowStart(0), windowLength(0), spareByte(0), fileEnded(false) {}

QZMPackFile::QZMPackFile(const char* file, unsigned start, unsigned end, unsigned mode,
                         const char* name)
    : QZMPackFile() {
    Open(file, start, end, mode, name);
}

QZMPackFile::~QZMPackFile() { Close(); }

bool QZMPackFile::Open(const char* file, unsigned start, unsigned end, unsigned mode,
                       const char* name) {
    if (!PrivateBegin(file, mode, name)) return false;
    if (this->mode == 0) {
        state = ST_BAD_MODE;
        QZM::DBG("PackFile: bad open mode (%s)\n", fileName);
        return false;
    }
    // Writing goes into an existing range: the file is never created or truncated.
    const char* how = this->mode == READ ? "r" : "r+";
    SharedFile* opened = SharedFile::Open(fileName, how);
    if (!opened) {
        state = ST_OPEN_ERROR;
        QZM::DBG("PackFile: Can not open %s in mode '%s'\n", fileName, how);
        return false;
    }
    return PrivateAttach(opened, start, end);
}

bool QZMPackFile::OpenShared(SharedFile& shared, const char* file, unsigned start, unsigned end,
                             const char* name) {
    if (!PrivateBegin(file, READ, name)) return false;
    shared.Retain();
    return PrivateAttach(&shared, start, end);
}

bool QZMPackFile::PrivateBegin(const char* file, unsigned mode, const char* name) {
    if (!file || !*file) return false;
    // Copied before Close(), which frees fileName and name: the caller may pass them back.
    char* path = QZMString::StringCopy(file);
    char* label = QZMString::StringCopy(name);
    Close();
    state = ST_OK;
    fileName = path;
    this->name = label ? label : path;
    this->mode = mode & 3;
    return true;
}

bool QZMPackFile::PrivateAttach(SharedFile* opened, unsigned start, unsigned end) {
    shared = opened;
    file = opened->Handle();
    this->start = start;
    this->end = uint64_t(end) > opened->Size() ? uint32_t(opened->Size()) : end;
    if (this->start < this->end) {
        SeekStart();
        return true;
    }
    QZM::DBG("PackFile: invalid offset (start=%d, end=%d) %s\n", int(this->start), int(this->end),
             fileName);
    shared->Release();
    shared = nullptr;
    file = nullptr;
    state = ST_OPEN_ERROR;
    return false;
}

void QZMPackFile::Close() {
    if (name == fileName) name = nullptr;
    QZMResFile::Close();
    delete[] fileName;
    fileName = nullptr;
    if (shared) shared->Release();
    shared = nullptr;
    file = nullptr;
    if (window != &spareByte) delete[] window;
    window = nullptr;
    windowCapacity = windowStart = windowLength = 0;
    fileEnded = false;
    start = end = pos = 0;
}

bool QZMPackFile::Seek(int offset, int whence) {
    if (!file) return false;
    // Magnitude of a negative offset, computed unsigned: INT_MIN has no positive int.
    const uint32_t back = offset < 0 ? 0u - uint32_t(offset) : 0;
    uint64_t to = pos;
    bool valid = false;
    switch (whence) {
    case SEEK_SET:
        // Checked against the absolute end, so the target may land beyond the range.
        valid = offset >= 0 && uint32_t(offset) < end;
        to = uint64_t(start) + uint32_t(offset);
        break;
    case SEEK_CUR:
        if (offset >= 0) {
            valid = offset == 0 || (pos < end && uint32_t(offset) < end - pos);
            to = uint64_t(pos) + uint32_t(offset);
        } else {
            valid = back <= pos && pos - back >= start;
            to = pos - back;
        }
        break;
    case SEEK_END:
        // Only checked: the position stays, and SeekEnd() alone moves to the end.
        valid = offset <= 0 && back < uint64_t(end) - start;
        break;
    }
    if (valid && to <= kMaxOffset) {
        pos = uint32_t(to);
        state = ST_OK;
        fileEnded = false;
        eof = pos >= end;
    } else {
        state = ST_SEEK_ERROR;
    }
    return state == ST_OK;
}

bool QZMPackFile::SeekStart() {
    if (!file) return false;
    pos = start;
    fileEnded = false;
    state = pos <= kMaxOffset ? ST_OK : ST_SEEK_ERROR;
    eof = pos >= end;
    return state == ST_OK;
}

bool QZMPackFile::SeekEnd() {
    if (!file) return false;
    pos = end;
    fileEnded = false;
    // GetPos() now gives the range's length; transfers wait for the next successful seek.
    state = ST_SEEK_ERROR;
    eof = 1;
    return pos <= kMaxOffset;
}

int32_t QZMPackFile::GetPos() const { return file ? static_cast<int32_t>(pos - start) : 0; }

void QZMPackFile::Flush() {}

unsigned QZMPackFile::GetLine(char* buf, unsigned size, char delim) {
    if (!(mode & READ) || state != ST_OK || eof || !size || !buf || !file) return 0;

    const unsigned left = pos < end ? end - pos : 0;
    const unsigned limit = size - 1 < left ? size - 1 : left;
    const int stop = static_cast<unsigned char>(delim);
    unsigned count = 0, n = 0;
    while (count < limit) {
        int c = PrivateByteAt(pos + count);
        if (c == EOF) break;
        count++;
        if (c == stop) break;
        buf[n++] = static_cast<char>(c);
    }
    pos += count;
    eof = fileEnded || pos >= end;

    if (count == 0) return 0;
    if (n > 0 && delim == '\n' && buf[n - 1] == '\r') {
        n--;
        count--;
    }
    buf[n] = 0;
    return count + 1;
}

unsigned QZMPackFile::GetLine(QZMString& line, unsigned size, char delim) {
    if (!(mode & READ) || state != ST_OK || !size || eof || !file) return 0;
    const unsigned left = pos < end ? end - pos : 0;
    if (left == 0) return 0;
    uint32_t at = pos;
    auto next = [this, &at] {
        int c = PrivateByteAt(at);
        if (c != EOF) at++;
        return c;
    };
    unsigned count = ReadLine(next, line, size < left ? size : left, delim);
    pos += count;
    eof = fileEnded || pos >= end;
    return count;
}

unsigned QZMPackFile::Read(void* buf, unsigned size) {
    if (!(mode & READ) || state != ST_OK || eof || !buf || !size || !file) return 0;
    // Compared with what is left rather than pos + size, which can pass 32 bits.
    const unsigned left = pos < end ? end - pos : 0;
    if (size > left) {
        state = ST_READ_AT_END;
        size = left;
    }
    unsigned n;
    const uint32_t inWindow = pos - windowStart;
    if (inWindow < windowLength && windowLength - inWindow >= size) {
        // The typed readers' few bytes: copied here, without a library call.
        const uint8_t* from = window + inWindow;
        uint8_t* to = static_cast<uint8_t*>(buf);
        for (n = 0; n < size; n++) to[n] = from[n];
    } else {
        n = size ? PrivateFetch(buf, size) : 0;
    }
    pos += n;
    if (n < size) state = ST_READ_AT_END;
    // Stored only when set: a byte store here stalls the next call's check of the flags.
    if (fileEnded || pos >= end) eof = 1;
    return n;
}

unsigned QZMPackFile::PrivateFetch(void* buf, unsigned size) {
    uint8_t* out = static_cast<uint8_t*>(buf);
    unsigned done = 0;
    // Unsigned difference: a position before the window gives a huge offset, outside it.
    const uint32_t inWindow = pos - windowStart;
    if (inWindow < windowLength) {
        done = windowLength - inWindow < size ? windowLength - inWindow : size;
        memcpy(out, window + inWindow, done);
    }
    while (done < size) {
        const uint32_t at = pos + done;
        const unsigned rest = size - done;
        // A read that fills the window or ends the range gains nothing from it: straight in.
        if (rest >= kWindowBytes || rest == end - at)
            return done + unsigned(shared->ReadAt(out + done, rest, at, fileEnded));
        if (!PrivateFill(at)) break;
        const unsigned n = windowLength < rest ? windowLength : rest;
        memcpy(out + done, window, n);
        done += n;
    }
    return done;
}

bool QZMPackFile::PrivateFill(uint32_t offset) {
    if (!window) {
        const uint32_t range = end - start;
        windowCapacity = range < kWindowBytes ? range : kWindowBytes;
        window = new (std::nothrow) uint8_t[windowCapacity];
        // Short of memory the stream still works, a byte at a time.
        if (!window) {
            window = &spareByte;
            windowCapacity = 1;
        }
    }
    const uint32_t wanted = end - offset < windowCapacity ? end - offset : windowCapacity;
    windowStart = offset;
    windowLength = uint32_t(shared->ReadAt(window, wanted, offset, fileEnded));
    return windowLength > 0;
}

int QZMPackFile::PrivateRefillAt(uint32_t offset) { return PrivateFill(offset) ? window[0] : EOF; }

unsigned QZMPackFile::Write(const void* buf, unsigned size) {
    if (!(mode & WRITE) || state != ST_OK || eof || !buf || !size || !file) return 0;
    const unsigned left = pos < end ? end - pos : 0;
    if (size > left) {
        state = ST_WRITE_AT_END;
        size = left;
    }
    unsigned n = size ? unsigned(shared->WriteAt(buf, size, pos)) : 0;
    // The window may hold the old bytes.
    windowLength = 0;
    pos += n;
    if (n < size) state = ST_WRITE_AT_END;
    if (fileEnded || pos >= end) eof = 1;
    return n;
}

void QZMPackFile::PrintInfo() const {
    QZM::LOG("PackFile info :\nFile  :%s\nName  : %s\nFILE* : %p\nMode  : %d (",
             fileName ? fileName : "(null)", name ? name : "(null)", static_cast<void*>(file),
             mode);
    QZM::LOG("%s)\nState : %d (", ModeText(mode), state);
    QZM::LOG("%s)\nStart : %d\nPos.  : %d\nEnd   : %d\nEOF   : %s\n", StateText(state),
             int(start), int(pos), int(end), eof ? "yes" : "no");
}
