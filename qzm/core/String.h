#pragma once
#include <cstdint>
#include <qzm/core/Log.h>

/// Growable zero-terminated byte string; data may be null when empty.
class QZMString {
public:
    char* data;
    uint32_t capacity;
    uint32_t length;

    QZMString(const char* s = nullptr);
    /// With s: its first n characters; without: empty with room for n characters.
    QZMString(unsigned n, const char* s);
    QZMString(const QZMString& other);
    ~QZMString();

    QZMString& operator=(const QZMString& other);
    QZMString& operator=(const char* s);
    QZMString& operator+=(char c);
    QZMString& operator+=(const QZMString& s);
    QZMString& operator+=(const char* s);

    /// Grows the storage to size rounded up to 4; size below capacity does nothing.
    void Allocate(unsigned size, bool keep = true);
    /// Replaces the text by count characters of s from `from` (0xFFFFFFFF: all).
    void ChangeText(const char* s, unsigned from = 0, unsigned count = 0xFFFFFFFF);
    /// Writes count copies of c from pos without changing the length.
    void Fill(char c, unsigned pos = 0, unsigned count = 0xFFFFFFFF);
    void Insert(const char* s, unsigned pos = 0xFFFFFFFF);
    void Insert(char c, unsigned pos = 0xFFFFFFFF);
    void Delete(unsigned pos, unsigned count = 0xFFFFFFFF);
    /// Deletes the separators and the word at pos; returns the count deleted.
    unsigned KillWord(unsigned pos);
    /// Returns the number of characters replaced.
    unsigned Replace(char from, char to);
    void LowerCase();
    void UpperCase();
    /// Complements every byte; twice restores the text.
    void Obfuscate();
    /// Keeps only characters safe in a file name; blanks and slashes become '_'.
    void MakeFilename();
    /// printf into this string; the arguments must not point into it.
    QZMString& Format(const char* fmt, ...) QZM_PRINTF(2, 3);

    /// Case-insensitive; always -1 unless flag is set.
    int Find(char c, unsigned start = 0, bool flag = true) const;
    int Find(const char* s, unsigned start = 0, bool caseSensitive = true) const;
    int Find(const QZMString& s, unsigned start = 0, bool caseSensitive = true) const;
    int RFind(char c, unsigned start = 0xFFFFFFFF, bool flag = true) const;
    int RFind(const char* s, unsigned start = 0xFFFFFFFF, bool caseSensitive = true) const;
    int RFind(const QZMString& s, unsigned start = 0xFFFFFFFF, bool caseSensitive = true) const;
    /// strncmp/strncasecmp of the text at pos with s, over at most min(length + 1, count) characters.
    int Compare(const char* s, bool caseSensitive = true, unsigned count = 0xFFFFFFFF,
                unsigned pos = 0) const;

    void PrintInfo() const;

    /// New[] copy of count characters of s from `from` (0xFFFFFFFF: all); null for null or empty s
    /// and when memory runs out.
    static char* StringCopy(const char* s, unsigned from = 0, unsigned count = 0xFFFFFFFF);
};
