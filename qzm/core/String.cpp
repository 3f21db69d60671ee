#include <qzm/core/String.h>

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <functional>
#include <new>
#include <strings.h>

namespace {

constexpr unsigned kAll = 0xFFFFFFFF;

uint32_t RoundUp4(uint32_t n) { return (n + 3u) & ~3u; }

int Lower(char c) { return std::tolower(static_cast<unsigned char>(c)); }

// s from `from` on; a `from` past the end gives the terminator.
const char* Tail(const char* s, unsigned from) {
    size_t n = strnlen(s, from);
    return s + n;
}

// Whether p points into the block [begin, begin + size).
bool Within(const char* p, const char* begin, uint32_t size) {
    return begin && std::greater_equal<const char*>()(p, begin) &&
           std::less<const char*>()(p, begin + size);
}

} // namespace

QZMString::QZMString(const char* s) : data(nullptr), capacity(0), length(0) {
    if (s) ChangeText(s, 0, kAll);
}

QZMString::QZMString(unsigned n, const char* s) : data(nullptr), capacity(0), length(0) {
    if (s)
        ChangeText(s, 0, n);
    else
        Allocate(n + 1, true);
}

QZMString::QZMString(const QZMString& other) : data(nullptr), capacity(0), length(0) {
    if (other.data) ChangeText(other.data, 0, other.length);
}

QZMString::~QZMString() { delete[] data; }

QZMString& QZMString::operator=(const QZMString& other) {
    if (this == &other) return *this;
    if (!other.data) {
        delete[] data;
        data = nullptr;
        capacity = length = 0;
    } else {
        ChangeText(other.data, 0, other.length);
    }
    return *this;
}

QZMString& QZMString::operator=(const char* s) {
    if (!s) {
        delete[] data;
        data = nullptr;
        capacity = length = 0;
    } else {
        ChangeText(s, 0, kAll);
    }
    return *this;
}

QZMString& QZMString::operator+=(char c) {
    Insert(c, length);
    return *this;
}

QZMString& QZMString::operator+=(const QZMString& s) {
    if (s.data) Insert(s.data, length);
    return *this;
}

QZMString& QZMString::operator+=(const char* s) {
    Insert(s, length);
    return *this;
}

void QZMString::Allocate(unsigned size, bool keep) {
    // Zero bytes could not even hold the terminator.
    if (size == 0 || size < capacity) return;
    uint32_t newCapacity = RoundUp4(size);
    if (newCapacity < size) newCapacity = size;
    // Out of memory the string stays as it was; callers check the capacity they asked for.
    char* fresh = new (std::nothrow) char[newCapacity];
    if (!fresh) return;
    if (keep && length != 0) {
        memcpy(fresh, data, length + 1);
    } else {
        fresh[0] = 0;
        length = 0;
    }
    delete[] data;
    data = fresh;
    capacity = newCapacity;
}

void QZMString::ChangeText(const char* s, unsigned from, unsigned count) {
    if (count == 0 || !s || !*s) {
        length = 0;
        if (data) data[0] = 0;
        return;
    }
    const char* src = Tail(s, from);
    uint32_t n = static_cast<uint32_t>(strnlen(src, count));
    // s may point into this string's own storage, which then needs no growth.
    if (n >= capacity) Allocate(n + 1, false);
    if (n >= capacity) return;
    memmove(data, src, n);
    data[n] = 0;
    length = n;
}

void QZMString::Fill(char c, unsigned pos, unsigned count) {
    if (count == 0) return;
    if (count == kAll) {
        if (pos >= length) return;
        count = length - pos;
    }
    // A span past 4 GiB cannot be stored anyway.
    if (count > kAll - pos) return;
    Allocate(pos + count, true);
    if (pos + count > capacity) return;
    memset(data + pos, c, count);
}

void QZMString::Insert(const char* s, unsigned pos) {
    if (!s || !*s) return;
    if (pos > length) pos = length;
    if (length == 0) {
        ChangeText(s, 0, kAll);
        return;
    }
    uint32_t n = static_cast<uint32_t>(strlen(s));
    if (length + n < capacity) {
        // Inserting a piece of itself: the move below would shift the source.
        if (Within(s, data, capacity)) {
            QZMString copy(s);
            Insert(copy.data, pos);
            return;
        }
        memmove(data + pos + n, data + pos, length - pos + 1);
        memcpy(data + pos, s, n);
    } else {
        uint32_t newCapacity = RoundUp4(capacity + (n > 10 ? n : 10));
        char* fresh = new (std::nothrow) char[newCapacity];
        if (!fresh) return;
        memcpy(fresh, data, pos);
        memcpy(fresh + pos, s, n);
        memcpy(fresh + pos + n, data + pos, length - pos + 1);
        delete[] data;
        data = fresh;
        capacity = newCapacity;
    }
    length += n;
}

void QZMString::Insert(char c, unsigned pos) {
    const char one[2] = {c, 0};
    Insert(one, pos);
}

void QZMString::Delete(unsigned pos, unsigned count) {
    if (pos >= length) return;
    if (count < length - pos) {
        memmove(data + pos, data + pos + count, length - pos - count + 1);
        length -= count;
    } else {
        data[pos] = 0;
        length = pos;
    }
}

unsigned QZMString::KillWord(unsigned pos) {
    if (pos >= length) return 0;
    uint32_t end = pos;
    while (end < length && !std::isalnum(static_cast<unsigned char>(data[end]))) ++end;
    while (end < length && std::isalnum(static_cast<unsigned char>(data[end]))) ++end;
    unsigned count = end - pos;
    Delete(pos, count);
    return count;
}

unsigned QZMString::Replace(char from, char to) {
    if (from == 0 || to == 0) return 0;
    unsigned count = 0;
    for (uint32_t i = 0; i < length; ++i) {
        if (data[i] == from) {
            data[i] = to;
            ++count;
        }
    }
    return count;
}

void QZMString::LowerCase() {
    for (uint32_t i = 0; i < length; ++i)
        if (data[i] >= 'A' && data[i] <= 'Z') data[i] = static_cast<char>(data[i] - 'A' + 'a');
}

void QZMString::UpperCase() {
    for (uint32_t i = 0; i < length; ++i)
        if (data[i] >= 'a' && data[i] <= 'z') data[i] = static_cast<char>(data[i] - 'a' + 'A');
}

void QZMString::Obfuscate() {
    for (uint32_t i = 0; i < length; ++i) data[i] = static_cast<char>(~data[i]);
}

void QZMString::MakeFilename() {
    if (length == 0) return;
    uint32_t newCapacity = (length + 4) & ~3u;
    char* fresh = new (std::nothrow) char[newCapacity];
    if (!fresh) return;
    uint32_t n = 0;
    for (uint32_t i = 0; i < length; ++i) {
        unsigned char c = static_cast<unsigned char>(data[i]);
        if (c == ' ' || c == '\t' || c == '\n' || c == '\\' || c == '/')
            fresh[n++] = '_';
        else if ((c >= 0x2D && c <= 0x39) || (c >= 0x40 && c <= 0x5A) || (c >= 0x61 && c <= 0x7A) ||
                 c == 0x5F)
            fresh[n++] = static_cast<char>(c);
    }
    fresh[n] = 0;
    delete[] data;
    data = fresh;
    capacity = newCapacity;
    length = n;
}

QZMString& QZMString::Format(const char* fmt, ...) {
    if (!fmt || !*fmt) return *this;
    if (!data) Allocate(4, true);
    va_list args;
    va_start(args, fmt);
    va_list again;
    va_copy(again, args);
    int r = vsnprintf(data, capacity, fmt, again);
    va_end(again);
    // A negative result once meant "too small"; today it is an encoding error that no
    // amount of room cures, so the doubling stops at a sane size.
    while (r < 0 && capacity < (1u << 20)) {
        // Storage that cannot grow (out of memory, or none at all) would retry forever.
        const uint32_t before = capacity;
        Allocate(capacity * 2, false);
        if (capacity == before) break;
        va_copy(again, args);
        r = vsnprintf(data, capacity, fmt, again);
        va_end(again);
    }
    if (r >= 0 && static_cast<uint32_t>(r) >= capacity) {
        Allocate(static_cast<uint32_t>(r) + 1, false);
        va_copy(again, args);
        r = vsnprintf(data, capacity, fmt, again);
        va_end(again);
    }
    va_end(args);
    if (r < 0) r = 0;
    // Out of memory the text is cut to what the storage holds.
    if (static_cast<uint32_t>(r) >= capacity) r = capacity ? int(capacity - 1) : 0;
    if (data) data[r] = 0;
    length = static_cast<uint32_t>(r);
    return *this;
}

int QZMString::Find(char c, unsigned start, bool flag) const {
    if (start >= length || !flag) return -1;
    for (uint32_t i = start; i < length; ++i)
        if (Lower(data[i]) == Lower(c)) return static_cast<int>(i);
    return -1;
}

int QZMString::RFind(char c, unsigned start, bool flag) const {
    if (length == 0 || !flag) return -1;
    uint32_t p = start < length - 1 ? start : length - 1;
    for (uint32_t i = p + 1; i-- > 0;)
        if (Lower(data[i]) == Lower(c)) return static_cast<int>(i);
    return -1;
}

int QZMString::Compare(const char* s, bool caseSensitive, unsigned count, unsigned pos) const {
    if (!s) s = "";
    if (length == 0) {
        size_t n = count < 1 ? count : 1;
        return caseSensitive ? strncmp("", s, n) : strncasecmp("", s, n);
    }
    if (pos >= length) pos = length - 1;
    // Bounded by what is left after pos: the terminator stops the comparison there
    // anyway, and the bound keeps a terminator overwritten by Fill from being passed.
    size_t n = count < length + 1 - pos ? count : length + 1 - pos;
    return caseSensitive ? strncmp(data + pos, s, n) : strncasecmp(data + pos, s, n);
}

namespace {

int FindText(const QZMString& str, const char* s, uint32_t n, unsigned start, bool caseSensitive) {
    if (start >= str.length || !s || n == 0 || n > str.length || start > str.length - n) return -1;
    for (uint32_t pos = start; pos <= str.length - n; ++pos)
        if (str.Compare(s, caseSensitive, n, pos) == 0) return static_cast<int>(pos);
    return -1;
}

int RFindText(const QZMString& str, const char* s, uint32_t n, unsigned start, bool caseSensitive) {
    if (str.length == 0 || !s || n == 0 || n > str.length) return -1;
    uint32_t p = start < str.length - 1 ? start : str.length - 1;
    if (p > str.length - n) p = str.length - n;
    for (uint32_t pos = p + 1; pos-- > 0;)
        if (str.Compare(s, caseSensitive, n, pos) == 0) return static_cast<int>(pos);
    return -1;
}

} // namespace

int QZMString::Find(const char* s, unsigned start, bool caseSensitive) const {
    return FindText(*this, s, s ? static_cast<uint32_t>(strlen(s)) : 0, start, caseSensitive);
}

int QZMString::Find(const QZMString& s, unsigned start, bool caseSensitive) const {
    return FindText(*this, s.data, s.length, start, caseSensitive);
}

int QZMString::RFind(const char* s, unsigned start, bool caseSensitive) const {
    return RFindText(*this, s, s ? static_cast<uint32_t>(strlen(s)) : 0, start, caseSensitive);
}

int QZMString::RFind(const QZMString& s, unsigned start, bool caseSensitive) const {
    return RFindText(*this, s.data, s.length, start, caseSensitive);
}

void QZMString::PrintInfo() const {
    // Printed through the length: after Obfuscate or Fill the terminator may be elsewhere.
    QZM::LOG("QZMString(%d/%d): %.*s\n", static_cast<int>(length), static_cast<int>(capacity),
             static_cast<int>(length), data ? data : "");
}

char* QZMString::StringCopy(const char* s, unsigned from, unsigned count) {
    if (!s || !*s || count == 0) return nullptr;
    const char* src = Tail(s, from);
    size_t n = strnlen(src, count);
    char* copy = new (std::nothrow) char[n + 1];
    if (!copy) return nullptr;
    memcpy(copy, src, n);
    copy[n] = 0;
    return copy;
}
