#include <qzm/io/PackFile.h>

#include <qzm/core/Log.h>
#include <qzm/io/internal/Stdio.h>

#include <climits>
#include <cstdint>

using namespace QZM::internal;

namespace {

// Highest absolute offset that both pos and fseek's long can hold (2 GiB - 1 on 32-bit x86).
constexpr uint64_t kMaxOffset = uint64_t(LONG_MAX) < UINT32_MAX ? uint64_t(LONG_MAX) : UINT32_MAX;

} // namespace

QZMPackFile::QZMPackFile(const char* file, unsigned start, unsigned end, unsigned mode,
                         const char* name)
    : fileName(nullptr), file(nullptr), start(0), end(0), pos(0) {
    Open(file, start, end, mode, name);
}

QZMPackFile::~QZMPackFile() { Close(); }

bool QZMPackFile::Open(const char* file, unsigned start, unsigned end, unsigned mode,
                       const char* name) {
    if (!file || !*file) return false;
    // Copied before Close(), which frees fileName and name: the caller may pass them back.
    char* path = QZMString::StringCopy(file);
    char* label = QZMString::StringCopy(name);
    Close();
    state = ST_OK;
    fileName = path;
    this->name = label ? label : path;
    this->mode = mode & 3;

    if (this->mode == 0) {
        state = ST_BAD_MODE;
        QZM::DBG("PackFile: bad open mode (%s)\n", path);
        return false;
    }
    // Writing goes into an existing range: the file is never created or truncated.
    const char* how = this->mode == READ ? "r" : "r+";
    this->file = fopen(path, how);
    if (!this->file) {
        state = ST_OPEN_ERROR;
        QZM::DBG("PackFile: Can not open %s in mode '%s'\n", path, how);
        return false;
    }

    this->start = start;
    this->end = end;
    long fileSize = fseek(this->file, 0, SEEK_END) == 0 ? ftell(this->file) : -1;
    if (fileSize < 0) fileSize = 0;
    if (uint64_t(this->end) > uint64_t(fileSize)) this->end = uint32_t(fileSize);

    if (this->start < this->end) {
        SeekStart();
        return true;
    }
    QZM::DBG("PackFile: invalid offset (start=%d, end=%d) %s\n", int(this->start), int(this->end),
             path);
    fclose(this->file);
    this->file = nullptr;
    state = ST_OPEN_ERROR;
    return false;
}

void QZMPackFile::Close() {
    if (name == fileName) name = nullptr;
    QZMResFile::Close();
    delete[] fileName;
    fileName = nullptr;
    if (file) fclose(file);
    file = nullptr;
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
    if (valid && to <= kMaxOffset && fseek(file, long(to), SEEK_SET) == 0) {
        pos = uint32_t(to);
        state = ST_OK;
        eof = AtEof(file) || pos >= end;
    } else {
        state = ST_SEEK_ERROR;
    }
    return state == ST_OK;
}

bool QZMPackFile::SeekStart() {
    if (!file) return false;
    clearerr(file);
    pos = start;
    state = fseek(file, long(pos), SEEK_SET) == 0 ? ST_OK : ST_SEEK_ERROR;
    eof = AtEof(file) || pos >= end;
    return state == ST_OK;
}

bool QZMPackFile::SeekEnd() {
    if (!file) return false;
    pos = end;
    bool moved = fseek(file, long(pos), SEEK_SET) == 0;
    // GetPos() now gives the range's length; transfers wait for the next successful seek.
    state = ST_SEEK_ERROR;
    eof = 1;
    return moved;
}

int32_t QZMPackFile::GetPos() const { return file ? static_cast<int32_t>(pos - start) : 0; }

void QZMPackFile::Flush() {
    if (file) fflush(file);
}

unsigned QZMPackFile::GetLine(char* buf, unsigned size, char delim) {
    if (!(mode & READ) || state != ST_OK || eof || !size || !buf || !file) return 0;

    const unsigned left = pos < end ? end - pos : 0;
    const unsigned limit = size - 1 < left ? size - 1 : left;
    const int stop = static_cast<unsigned char>(delim);
    unsigned count = 0, n = 0;
    while (count < limit) {
        int c = GetByte(file);
        if (c == EOF) break;
        count++;
        if (c == stop) break;
        buf[n++] = static_cast<char>(c);
    }
    pos += count;
    eof = AtEof(file) || pos >= end;

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
    unsigned count = ReadLine(file, line, size < left ? size : left, delim);
    pos += count;
    eof = AtEof(file) || pos >= end;
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
    unsigned n = size ? static_cast<unsigned>(ReadBytes(buf, size, file)) : 0;
    pos += n;
    if (n < size) state = ST_READ_AT_END;
    // Stored only when set: a byte store here stalls the next call's check of the flags.
    if (AtEof(file) || pos >= end) eof = 1;
    return n;
}

unsigned QZMPackFile::Write(const void* buf, unsigned size) {
    if (!(mode & WRITE) || state != ST_OK || eof || !buf || !size || !file) return 0;
    const unsigned left = pos < end ? end - pos : 0;
    if (size > left) {
        state = ST_WRITE_AT_END;
        size = left;
    }
    unsigned n = size ? static_cast<unsigned>(WriteBytes(buf, size, file)) : 0;
    pos += n;
    if (n < size) state = ST_WRITE_AT_END;
    if (AtEof(file) || pos >= end) eof = 1;
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
