#pragma once
#include <vector>
#include <qzm/io/ResFile.h>

class QZMFileProvider;

/// Ordered search path of directories and archives, which it owns; index 0 is searched first.
class QZMResFinder {
public:
    std::vector<QZMFileProvider*> sources;

    QZMResFinder() = default;
    ~QZMResFinder();
    QZMResFinder(const QZMResFinder&) = delete;
    QZMResFinder& operator=(const QZMResFinder&) = delete;

    /// Index of the first source whose Name() is exactly name, or -1.
    int FindSource(const char* name) const;
    /// Adds a directory or a recognised archive; true without change when the name is already
    /// a source. Directories are known by their absolute path.
    bool AddSource(const char* name, bool atFront);
    /// Takes the source out of the list without destroying it; always false.
    bool RemoveSource(const char* name);
    /// A new stream from the first source that has the file, owned by the caller; or null.
    QZMResFile* FindRes(const char* name) const;
    void PrintInfo() const;

private:
    static QZMFileProvider* OpenSource(const char* name);
};
