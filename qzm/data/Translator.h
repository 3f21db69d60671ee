#pragma once
#include <cstdint>

class QZMResFile;

/// The game's strings in the player's language, from "LanG" language files; a singleton.
class QZMTranslator {
public:
    /// A language file found by Init.
    struct LangFile {
        char* name; ///< owned language name
        char* file; ///< owned full path
    };

    char* path;       ///< the scanned directory, absolute, ending in '/'
    char* curFile;    ///< path of the loaded file, or null
    char* curName;    ///< language name read by a load by path; null after a load by index
    char** strings;   ///< stringCount + 1 pointers into stringData, null for absent strings
    char* stringData; ///< the file's string block, terminated one byte past its end
    LangFile* files;  ///< in directory-listing order
    bool initialized; ///< Init found at least one file
    uint32_t fileCount;
    uint32_t fileAlloc;
    uint32_t stringCount;
    uint32_t curIndex; ///< entry of files that is loaded, or 0xFFFFFFFF
    char fallback[20]; ///< "String #" and the number last asked for

    static QZMTranslator* Singleton();
    ~QZMTranslator();
    QZMTranslator(const QZMTranslator&) = delete;
    QZMTranslator& operator=(const QZMTranslator&) = delete;

    /// Lists the language files in dir whose names end in suffix (any name without one);
    /// returns how many were found.
    unsigned int Init(const char* dir, const char* suffix);
    /// The language name of a valid language file as a new[] string, or null.
    const char* CheckLang(const char* fileName) const;
    /// Null when i >= fileCount.
    const char* GetLangName(unsigned int i) const;
    /// Null when i >= fileCount.
    const char* GetLangFile(unsigned int i) const;
    /// Loads the first listed file whose language name equals langName (case-sensitive).
    bool LoadName(const char* langName);
    /// A null fileName loads list entry index; otherwise the named file. A failure before the
    /// strings are read keeps the previous language.
    bool Load(const char* fileName, unsigned int index);
    const char* GetCurName() const;
    const char* GetCurFile() const;
    /// String n, null when absent; "String #n" in a buffer reused by the next call when
    /// n > stringCount.
    const char* GetString(unsigned int n);
    void PrintInfo(bool withStrings) const;

    void DeleteFileArray();
    void DeleteStringArray();
    /// New[] copy of length characters of src from start (0xFFFFFFFF: all); null for a null
    /// or empty src or a length of 0.
    char* StrCopy(const char* src, unsigned int start, unsigned int length) const;
    bool IsAbsolute(const char* path) const;

private:
    static QZMTranslator* m_instance;

    QZMTranslator();
    bool AddFile(char* name, const char* file);
    char* FullPath(const char* fileName) const;
    bool ReadStrings(QZMResFile& file, char* filePath, char* langName, uint32_t newIndex);
};
