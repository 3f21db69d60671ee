#include <qzm/core/Parse.h>

#include <qzm/core/Log.h>
#include <qzm/core/internal/Narrow.h>

#include <cctype>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <strings.h>

const char QZMParse::DEC2HEXA[17] = "0123456789ABCDEF";

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

bool IsSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Advances the cursor past the stop point and one comma; shared by the cursor forms.
bool Advance(char** cursor, const char* stop) {
    if (!stop) return false;
    if (*stop == ',') ++stop;
    *cursor = const_cast<char*>(stop);
    return true;
}

// One "%u" the way a 32-bit C library reads it: white space, a sign, decimal digits
// saturating at 2^32 - 1, then negated for '-'. Hand-made because sscanf's overflow is undefined.
bool ScanUnsigned(const char*& p, uint32_t& value) {
    const char* q = p;
    while (IsSpace(*q)) ++q;
    bool negative = false;
    if (*q == '+' || *q == '-') negative = *q++ == '-';
    if (!IsDigit(*q)) return false;
    uint32_t n = 0;
    bool overflow = false;
    for (; IsDigit(*q); ++q) {
        uint32_t digit = static_cast<uint32_t>(*q - '0');
        if (n > (UINT32_MAX - digit) / 10)
            overflow = true;
        else
            n = n * 10 + digit;
    }
    value = overflow ? UINT32_MAX : negative ? 0u - n : n;
    p = q;
    return true;
}

// Fields of "%u/%u/%u %u:%u:%u" read before the first mismatch.
int ScanDate(const char* s, uint32_t fields[6]) {
    static const char separators[] = "// ::";
    int count = 0;
    for (; count < 6; ++count) {
        if (count > 0) {
            char sep = separators[count - 1];
            if (sep == ' ') {
                while (IsSpace(*s)) ++s;
            } else if (*s == sep) {
                ++s;
            } else {
                break;
            }
        }
        if (!ScanUnsigned(s, fields[count])) break;
    }
    return count;
}

// The bit pattern as an int, spelled out so it does not rest on implementation-defined narrowing.
int AsInt(uint32_t v) {
    return v <= INT_MAX ? static_cast<int>(v) : -static_cast<int>(~v) - 1;
}

// The low 16 bits of v as a signed value.
int16_t Low16(int v) {
    int low = static_cast<int>(static_cast<uint32_t>(v) & 0xFFFF);
    return static_cast<int16_t>(low >= 0x8000 ? low - 0x10000 : low);
}

} // namespace

const char* QZMParse::EatSpace(const char* s) {
    if (!s) return nullptr;
    while (IsBlank(*s)) ++s;
    return s;
}

const char* QZMParse::ReadBoolean(const char* s, bool& out) {
    s = EatSpace(s);
    if (!s || !*s) return nullptr;
    if (*s == '1' || *s == '0') {
        out = *s == '1';
        return s + 1;
    }
    static const struct {
        const char* word;
        bool value;
    } words[] = {{"YES", true}, {"NO", false}, {"TRUE", true}, {"FALSE", false}};
    for (const auto& w : words) {
        size_t n = strlen(w.word);
        if (strncasecmp(s, w.word, n) == 0) {
            out = w.value;
            return s + n;
        }
    }
    return nullptr;
}

const char* QZMParse::ReadInt(const char* s, int& out) {
    if (!s) return nullptr;
    char* end = nullptr;
    long value = strtol(s, &end, 10);
    if (end == s) return nullptr;
    // A 32-bit long saturates here already; a 64-bit one must give the same answer.
    out = value > INT_MAX ? INT_MAX : value < INT_MIN ? INT_MIN : static_cast<int>(value);
    return end;
}

const char* QZMParse::ReadFloat(const char* s, float& out) {
    if (!s) return nullptr;
    char* end = nullptr;
    double value = strtod(s, &end);
    if (end == s) return nullptr;
    out = QZM::internal::NarrowToFloat(value);
    return end;
}

const char* QZMParse::ReadColor(const char* s, unsigned char* rgba) {
    if (!s || !rgba) return nullptr;
    const char* hash = strchr(s, '#');
    if (!hash) return nullptr;
    const char* digits = hash + 1;
    int count = 0;
    while (count < 8 && std::isxdigit(static_cast<unsigned char>(digits[count]))) ++count;
    if (count < 6) return nullptr;
    for (int i = 0; i < 3; ++i)
        rgba[i] = Hexa2Dec(static_cast<unsigned char>(digits[2 * i]),
                           static_cast<unsigned char>(digits[2 * i + 1]));
    if (count == 8) {
        rgba[3] = Hexa2Dec(static_cast<unsigned char>(digits[6]),
                           static_cast<unsigned char>(digits[7]));
        return digits + 8;
    }
    return digits + 6;
}

char* QZMParse::SkipEqual(char* s) {
    char* p = const_cast<char*>(EatSpace(s));
    if (p && (*p == '=' || *p == ':')) {
        p = const_cast<char*>(EatSpace(p + 1));
        if (*p) return p;
    }
    QZM::LOG("SkipEqual: missing : or =, or value\n");
    return nullptr;
}

unsigned int QZMParse::ReadString(char** cursor, char* out, unsigned int maxLen, char delimiter) {
    if (!cursor || !*cursor) {
        if (out) *out = 0;
        return 0;
    }
    char* p = const_cast<char*>(EatSpace(*cursor));
    unsigned int count = 0;
    if (out) {
        while (*p && *p != delimiter && count < maxLen) out[count++] = *p++;
        out[count] = 0;
    } else {
        while (*p && *p != delimiter) {
            ++count;
            ++p;
        }
    }
    // A zero delimiter is the end of the string: never step past the terminator.
    if (*p && *p == delimiter) ++p;
    *cursor = p;
    return count;
}

bool QZMParse::ReadBoolean(char** cursor, bool& out) {
    return cursor && Advance(cursor, ReadBoolean(*cursor, out));
}

bool QZMParse::ReadInt(char** cursor, int& out) {
    return cursor && Advance(cursor, ReadInt(*cursor, out));
}

bool QZMParse::ReadFloat(char** cursor, float& out) {
    return cursor && Advance(cursor, ReadFloat(*cursor, out));
}

bool QZMParse::ReadColor(char** cursor, unsigned char* rgba) {
    return cursor && Advance(cursor, ReadColor(*cursor, rgba));
}

bool QZMParse::ReadGeometry(char** cursor, QZMRect& rect) {
    int v = 0;
    if (!ReadInt(cursor, v)) return false;
    rect.x = Low16(v);
    if (!ReadInt(cursor, v)) return false;
    rect.y = Low16(v);
    if (!ReadInt(cursor, v)) return false;
    rect.w = static_cast<uint16_t>(v);
    if (!ReadInt(cursor, v)) return false;
    rect.h = static_cast<uint16_t>(v);
    return true;
}

bool QZMParse::ReadDate(const char* s, long& out) {
    if (!s) return false;
    uint32_t f[6] = {0, 0, 0, 0, 0, 0};
    if (ScanDate(s, f) < 3) return false;
    if (f[0] <= 99) f[0] += 2000;
    if (f[1] > 12 || f[2] > 31) return false;
    struct tm t = {};
    t.tm_year = AsInt(f[0]);
    t.tm_mon = AsInt(f[1]);
    t.tm_mday = AsInt(f[2]);
    t.tm_hour = AsInt(f[3]);
    t.tm_min = AsInt(f[4]);
    t.tm_sec = AsInt(f[5]);
    t.tm_isdst = 0;
    time_t seconds = mktime(&t);
    // The library keeps 32-bit times: a wider host must refuse what a 32-bit one cannot hold.
    if (seconds == static_cast<time_t>(-1) || seconds < INT32_MIN || seconds > INT32_MAX)
        return false;
    out = static_cast<long>(seconds);
    return true;
}

unsigned char QZMParse::Hexa2Dec(unsigned char high, unsigned char low) {
    auto nibble = [](unsigned c) -> unsigned {
        if (c <= '9') return c - '0';
        if (c <= 'F') return c - 'A' + 10;
        return c - 'a' + 10;
    };
    return static_cast<unsigned char>((nibble(high) * 16 + nibble(low)) & 0xFF);
}

void QZMParse::Hexa2Float(const char* s, float* rgb) {
    for (int i = 0; i < 3; ++i)
        rgb[i] = static_cast<float>(Hexa2Dec(static_cast<unsigned char>(s[2 * i]),
                                             static_cast<unsigned char>(s[2 * i + 1])) /
                                    255.0);
}

void QZMParse::Dec2Hexa(unsigned int value, int digits, char* out) {
    if (digits > 8) digits = 8;
    if (digits < 0) digits = 0;
    out[digits] = 0;
    for (int i = digits - 1; i >= 0; --i) {
        out[i] = DEC2HEXA[value & 0xF];
        value >>= 4;
    }
}

void QZMParse::Dec2Hexa(const unsigned char* bytes, int count, char* out) {
    for (int i = 0; i < count; ++i) {
        *out++ = DEC2HEXA[bytes[i] >> 4];
        *out++ = DEC2HEXA[bytes[i] & 0xF];
    }
}

void QZMParse::RGB_to_HSV(float r, float g, float b, float& h, float& s, float& v) {
    float max = r > g ? r : g;
    if (b > max) max = b;
    float min = r < g ? r : g;
    if (b < min) min = b;
    float delta = max - min;
    v = max;
    s = max != 0 ? delta / max : 0;
    if (s == 0) {
        h = 0;
        return;
    }
    if (r == max)
        h = (g - b) / delta;
    else if (g == max)
        h = 2 + (b - r) / delta;
    else
        h = 4 + (r - g) / delta;
    h *= 60;
    if (h < 0) h += 360;
}

void QZMParse::HSV_to_RGB(float h, float s, float v, float& r, float& g, float& b) {
    if (s == 0) {
        r = g = b = v;
        return;
    }
    if (h == 360) h = 0;
    h /= 60;
    // Also keeps the conversion to int below defined (NaN, huge values).
    if (!(h >= 0 && h < 6)) return;
    int i = static_cast<int>(h);
    float f = h - static_cast<float>(i);
    float p = v * (1 - s);
    float q = v * (1 - s * f);
    float t = v * (1 - s * (1 - f));
    switch (i) {
    case 0: r = v, g = t, b = p; break;
    case 1: r = q, g = v, b = p; break;
    case 2: r = p, g = v, b = t; break;
    case 3: r = p, g = q, b = v; break;
    case 4: r = t, g = p, b = v; break;
    default: r = v, g = p, b = q; break;
    }
}

float QZMParse::RGB2H(const float* rgb) {
    float h, s, v;
    RGB_to_HSV(rgb[0], rgb[1], rgb[2], h, s, v);
    return h;
}

void QZMParse::H2RGB(float h, float* rgb) { HSV_to_RGB(h, 1, 1, rgb[0], rgb[1], rgb[2]); }

void QZMParse::Obfuscate(const char* in, char* out) {
    if (!in || !out) return;
    size_t i = 0;
    // Read before write: in and out may be the same buffer.
    for (char c; (c = in[i]) != 0; ++i) out[i] = static_cast<char>(~c);
    out[i] = 0;
}

int QZMParse::ForceRange(char* s, char low, char high, char replacement) {
    if (!s) return 0;
    int count = 0;
    signed char lo = static_cast<signed char>(low);
    signed char hi = static_cast<signed char>(high);
    for (; *s; ++s) {
        signed char c = static_cast<signed char>(*s);
        if (c < lo || c > hi) {
            *s = replacement;
            ++count;
        }
    }
    return count;
}

int QZMParse::SystemPath(char* path) {
    if (!path) return 0;
    int count = 0;
    for (; *path; ++path) {
        if (*path == '\\' || *path == '/' || *path == ':') {
            *path = '/';
            ++count;
        }
    }
    return count;
}
