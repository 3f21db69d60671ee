#pragma once
#include <qzm/gfx/Rect.h>

/// Static helpers that read values out of text lines in place; blanks are space and tab only.
/// Pointer forms return where they stopped, or null on failure with the output untouched.
class QZMParse {
public:
    QZMParse() = delete;

    /// "0123456789ABCDEF"
    static const char DEC2HEXA[17];

    /// 1, 0 or a word beginning with yes, no, true, false (any case).
    static const char* ReadBoolean(const char* s, bool& out);
    /// Decimal, as strtol; saturates at the int range.
    static const char* ReadInt(const char* s, int& out);
    static const char* ReadFloat(const char* s, float& out);
    /// The first "#RRGGBB" or "#RRGGBBAA" in s into rgba[0..3]; alpha is kept without AA.
    static const char* ReadColor(const char* s, unsigned char* rgba);
    /// s past spaces and tabs.
    static const char* EatSpace(const char* s);
    /// Start of the value after "=" or ":"; null and a log message when either is missing.
    static char* SkipEqual(char* s);

    /// Characters copied (out holds maxLen + 1 bytes) or, with a null out, counted up to the
    /// delimiter; *cursor moves past the delimiter only when it stopped on it.
    static unsigned int ReadString(char** cursor, char* out, unsigned int maxLen, char delimiter);
    /// Cursor forms: on success *cursor moves past the value and one comma.
    static bool ReadBoolean(char** cursor, bool& out);
    static bool ReadInt(char** cursor, int& out);
    static bool ReadFloat(char** cursor, float& out);
    static bool ReadColor(char** cursor, unsigned char* rgba);
    /// Four integers into x, y, w, h; fields read before a failure keep their new values.
    static bool ReadGeometry(char** cursor, QZMRect& rect);

    /// "y/m/d [h:m:s]" as local epoch seconds, y and m taken as tm_year and tm_mon (y <= 99 gets
    /// 2000 added); false for fewer than 3 fields, m > 12, d > 31 or a time beyond 32 bits.
    static bool ReadDate(const char* s, long& out);
    /// Two hexadecimal characters, not validated.
    static unsigned char Hexa2Dec(unsigned char high, unsigned char low);
    /// Three hexadecimal pairs as floats in 0..1.
    static void Hexa2Float(const char* s, float* rgb);
    /// value in `digits` (at most 8) upper-case digits plus a terminator; higher digits dropped.
    static void Dec2Hexa(unsigned int value, int digits, char* out);
    /// 2 * count hexadecimal characters, no terminator.
    static void Dec2Hexa(const unsigned char* bytes, int count, char* out);
    /// Hue in degrees [0, 360), saturation and value in 0..1.
    static void RGB_to_HSV(float r, float g, float b, float& h, float& s, float& v);
    /// Writes nothing for a hue outside [0, 360]; 360 counts as 0.
    static void HSV_to_RGB(float h, float s, float v, float& r, float& g, float& b);
    static float RGB2H(const float* rgb);
    /// Fully saturated, full-value colour of a hue.
    static void H2RGB(float h, float* rgb);
    /// Complements every byte up to the terminator; its own inverse; in and out may be the same.
    static void Obfuscate(const char* in, char* out);
    /// Replaces characters outside [low, high] (compared signed); returns how many.
    static int ForceRange(char* s, char low, char high, char replacement);
    /// Turns every '\\', '/' and ':' into '/'; returns how many there were.
    static int SystemPath(char* path);
};
