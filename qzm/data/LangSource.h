#pragma once
#include <qzm/core/String.h>
#include <qzm/data/Text.h>

class QZMResFile;
class QZMTranslator;

/// A language in its editable text form, compiled to and from "LanG" language files.
/// The source is UTF-8: a line "name: LANGUAGE", then lines "NUMBER: text" with the escapes
/// `\n`, `\t` and `\\`; '#' starts a comment line and blank lines are ignored.
class QZMLangSource {
public:
    static const unsigned MAX_NUMBER = 65535; ///< highest string number a source may use
    static const unsigned MAX_TEXT = 65534;   ///< bytes of one string, the file's limit
    static const unsigned MAX_NAME = 254;     ///< bytes of the language name

    char* name;      ///< owned, or null
    QZMText strings; ///< numbers not given are null slots
    QZMString error; ///< why the last Parse or Save failed, "SOURCE:LINE: message" for Parse

    QZMLangSource();
    ~QZMLangSource();
    QZMLangSource(const QZMLangSource&) = delete;
    QZMLangSource& operator=(const QZMLangSource&) = delete;

    /// Replaces the content by the source file's; false with error set for a bad source.
    bool ParseFile(const char* path);
    /// The same from memory; label names the source in error messages.
    bool Parse(const char* text, unsigned int length, const char* label);
    /// Replaces the content by the language the translator has loaded.
    bool Take(const QZMTranslator& translator);
    /// Writes the "LanG" layout; false without a name, for a string too long or a write error.
    bool Save(QZMResFile& file);
    bool SaveName(const char* fileName);
    /// The canonical source: name line, then present strings by number, escapes as read;
    /// false (and out empty) when it would not fit a string.
    bool Source(QZMString& out) const;

private:
    void Clear();
};
