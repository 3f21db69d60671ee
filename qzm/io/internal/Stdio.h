#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <qzm/core/String.h>

// The disk file stream owns its FILE* alone (member streams read theirs with pread), so stdio's
// per-call locking buys nothing: glibc's unlocked variants give the same results without it.
namespace QZM::internal {

inline int GetByte(FILE* f) { return getc_unlocked(f); }

inline bool AtEof(FILE* f) {
#if defined(__GLIBC__)
    return feof_unlocked(f) != 0;
#else
    return feof(f) != 0;
#endif
}

inline size_t ReadBytes(void* buf, size_t size, FILE* f) {
    // The typed readers ask for 1 to 8 bytes; a getc loop is much cheaper than fread there
    // and stops at the same byte.
    if (size <= 8) {
        unsigned char* p = static_cast<unsigned char*>(buf);
        size_t n = 0;
        for (int c; n < size && (c = getc_unlocked(f)) != EOF; n++)
            p[n] = static_cast<unsigned char>(c);
        return n;
    }
#if defined(__GLIBC__)
    return fread_unlocked(buf, 1, size, f);
#else
    return fread(buf, 1, size, f);
#endif
}

inline size_t WriteBytes(const void* buf, size_t size, FILE* f) {
#if defined(__GLIBC__)
    return fwrite_unlocked(buf, 1, size, f);
#else
    return fwrite(buf, 1, size, f);
#endif
}

// Appends n bytes of chunk (room for a terminator after them), doubling the storage when it
// is short so that a long line costs a logarithmic number of copies.
inline void AppendChunk(QZMString& line, char* chunk, unsigned n) {
    if (n == 0) return;
    chunk[n] = 0;
    uint64_t need = uint64_t(line.length) + n + 1;
    if (need > line.capacity) {
        uint64_t grown = uint64_t(line.capacity) * 2;
        if (grown < need) grown = need;
        line.Allocate(grown > UINT32_MAX ? UINT32_MAX : unsigned(grown), true);
    }
    line += chunk;
}

/// Empties line, then reads up to limit bytes from nextByte() (a byte, or EOF at the end),
/// stopping after delim (consumed, not stored); a carriage return before a line-feed delimiter
/// is dropped. Returns the bytes consumed.
template <class NextByte>
unsigned ReadLine(NextByte nextByte, QZMString& line, unsigned limit, char delim) {
    line.length = 0;
    if (line.data) line.data[0] = 0;

    char chunk[256];
    unsigned fill = 0, count = 0;
    const int stop = static_cast<unsigned char>(delim);
    while (count < limit) {
        int c = nextByte();
        if (c == EOF) break;
        count++;
        if (c == stop) break;
        // The string cannot hold a zero byte: appending one is a no-op.
        if (c == 0) continue;
        chunk[fill++] = static_cast<char>(c);
        if (fill == sizeof chunk - 1) {
            AppendChunk(line, chunk, fill);
            fill = 0;
        }
    }
    AppendChunk(line, chunk, fill);

    if (delim == '\n' && line.length > 0 && line.data[line.length - 1] == '\r')
        line.Delete(line.length - 1, 1);
    return count;
}

} // namespace QZM::internal
