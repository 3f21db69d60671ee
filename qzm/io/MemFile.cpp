#include <qzm/io/MemFile.h>

#include <qzm/core/Log.h>

#include <cstdint>
#include <cstring>
#include <new>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

// The name of every unnamed memory stream; never freed.
char g_memFileName[] = "Memory file";

// Reads of whole sounds and pictures copy megabytes into buffers that are not in the cache:
// streaming stores write them without first reading every destination line in.
constexpr unsigned kStreamFrom = 1u << 20;

bool Overlap(const void* to, const void* from, unsigned n) {
    uintptr_t a = reinterpret_cast<uintptr_t>(to), b = reinterpret_cast<uintptr_t>(from);
    return a < b + n && b < a + n;
}

void StreamCopy(void* to, const void* from, unsigned n) {
#ifdef __SSE2__
    auto* out = static_cast<unsigned char*>(to);
    auto* in = static_cast<const unsigned char*>(from);
    unsigned head = unsigned(-reinterpret_cast<uintptr_t>(out) & 15);
    memcpy(out, in, head);
    out += head, in += head, n -= head;
    for (; n >= 64; n -= 64, out += 64, in += 64) {
        __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
        __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 16));
        __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 32));
        __m128i d = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 48));
        _mm_stream_si128(reinterpret_cast<__m128i*>(out), a);
        _mm_stream_si128(reinterpret_cast<__m128i*>(out + 16), b);
        _mm_stream_si128(reinterpret_cast<__m128i*>(out + 32), c);
        _mm_stream_si128(reinterpret_cast<__m128i*>(out + 48), d);
    }
    _mm_sfence();
    memcpy(out, in, n);
#else
    memcpy(to, from, n);
#endif
}

// Typed readers and writers move 1 to 8 bytes, too few to pay for a library call; the
// temporary keeps an overlapping buffer correct, as memmove would.
void CopyBytes(void* to, const void* from, unsigned n) {
    if (n >= kStreamFrom && !Overlap(to, from, n)) {
        StreamCopy(to, from, n);
        return;
    }
    if (n == 1) {
        *static_cast<unsigned char*>(to) = *static_cast<const unsigned char*>(from);
        return;
    }
    if (n > 8) {
        memmove(to, from, n);
        return;
    }
    unsigned char tmp[8];
    for (unsigned i = 0; i < n; i++) tmp[i] = static_cast<const unsigned char*>(from)[i];
    for (unsigned i = 0; i < n; i++) static_cast<unsigned char*>(to)[i] = tmp[i];
}

// Both GetLine variants: the length of the line at from, delimiter excluded and not consumed.
// The limit min(size, left) - 1 keeps the block's last byte out of every line.
unsigned ScanLine(const unsigned char* from, unsigned left, unsigned size, char delim) {
    unsigned limit = (size < left ? size : left) - 1;
    const void* hit = memchr(from, static_cast<unsigned char>(delim), limit);
    return hit ? unsigned(static_cast<const unsigned char*>(hit) - from) : limit;
}

} // namespace

QZMMemFile::QZMMemFile(unsigned size, unsigned mode, unsigned char* data, bool own,
                       const char* name)
    : ownData(0), data(nullptr), size(0), pos(0) {
    Open(size, mode, data, own, name);
}

QZMMemFile::~QZMMemFile() { Close(); }

bool QZMMemFile::Open(unsigned size, unsigned mode, unsigned char* data, bool own,
                      const char* name) {
    if (size == 0) return false;
    // Close() frees both the name and an owned block, and the caller may be handing either back.
    char* nameCopy = QZMString::StringCopy(name);
    if (data && data == this->data && ownData) {
        own = true;
        this->data = nullptr;
    }
    Close();
    state = ST_OK;
    this->mode = mode & 3;
    ownData = own;
    eof = 0;
    this->size = size;

    if (!data) {
        // Zeroed, so that reading never returns stale heap contents.
        data = new (std::nothrow) unsigned char[size]();
        if (!data) {
            delete[] nameCopy;
            ownData = 0;
            this->size = 0;
            state = ST_OPEN_ERROR;
            return false;
        }
        ownData = 1;
    }
    this->data = data;
    if (mode & (TRUNC | CREATE)) memset(data, 0, size);
    this->name = nameCopy ? nameCopy : g_memFileName;
    return true;
}

void QZMMemFile::Close() {
    if (name == g_memFileName) name = nullptr;
    QZMResFile::Close();
    if (ownData) delete[] data;
    data = nullptr;
    ownData = 0;
    size = 0;
    pos = 0;
}

bool QZMMemFile::Seek(int offset, int whence) {
    if (!data) return false;
    int64_t target;
    switch (whence) {
    case SEEK_SET: target = offset; break;
    case SEEK_CUR: target = int64_t(pos) + offset; break;
    case SEEK_END: target = int64_t(size) + offset; break;
    default: target = -1; break;
    }
    if (target < 0 || target >= int64_t(size)) {
        state = ST_SEEK_ERROR;
        return false;
    }
    pos = uint32_t(target);
    state = ST_OK;
    eof = 0;
    return true;
}

bool QZMMemFile::SeekStart() {
    if (!data) return false;
    pos = 0;
    state = ST_OK;
    eof = 0;
    return true;
}

bool QZMMemFile::SeekEnd() {
    if (!data) return false;
    pos = size;
    state = ST_SEEK_ERROR;
    eof = 1;
    return true;
}

int32_t QZMMemFile::GetPos() const { return static_cast<int32_t>(pos); }

void QZMMemFile::Flush() {}

unsigned QZMMemFile::GetLine(char* buf, unsigned size, char delim) {
    if (!(mode & READ) || state != ST_OK || eof || !size || !buf || !data) return 0;
    const unsigned char* from = data + pos;
    unsigned n = ScanLine(from, this->size - pos, size, delim);
    memmove(buf, from, n);
    pos += n;
    eof = pos >= this->size;
    if (n > 0 && delim == '\n' && buf[n - 1] == '\r') n--;
    buf[n] = 0;
    return n + 1;
}

unsigned QZMMemFile::GetLine(QZMString& line, unsigned size, char delim) {
    if (!(mode & READ) || state != ST_OK || eof || !size || !data) return 0;
    const char* from = reinterpret_cast<const char*>(data + pos);
    unsigned n = ScanLine(data + pos, this->size - pos, size, delim);
    pos += n;
    eof = pos >= this->size;
    if (n > 0 && delim == '\n' && from[n - 1] == '\r') n--;

    // ChangeText stops at n characters: the block has no terminator of its own.
    line.ChangeText(from, 0, n);
    return n;
}

unsigned QZMMemFile::Read(void* buf, unsigned size) {
    if (!(mode & READ) || state != ST_OK || eof || !buf || !size || !data) return 0;
    unsigned left = this->size - pos;
    if (size > left) {
        state = ST_READ_AT_END;
        size = left;
    }
    CopyBytes(buf, data + pos, size);
    pos += size;
    // Stored only when set: a byte store here stalls the next call's check of the flags.
    if (pos >= this->size) eof = 1;
    return size;
}

unsigned QZMMemFile::Write(const void* buf, unsigned size) {
    if (!(mode & WRITE) || state != ST_OK || eof || !buf || !size || !data) return 0;
    unsigned left = this->size - pos;
    if (size > left) {
        state = ST_WRITE_AT_END;
        size = left;
    }
    CopyBytes(data + pos, buf, size);
    pos += size;
    if (pos >= this->size) eof = 1;
    return size;
}

void QZMMemFile::PrintInfo() const {
    QZM::LOG("MemFile info:\nAddress: %p\nMode  : %d (", static_cast<void*>(data), mode);
    QZM::LOG("%s)\nState : %d (", ModeText(mode), state);
    QZM::LOG("%s)\nSize : %d\nPos.  : %d\nEOF   : %s\nOwn data: %s\n", StateText(state),
             static_cast<int>(size), static_cast<int>(pos), eof ? "yes" : "no",
             ownData ? "yes" : "no");
}
