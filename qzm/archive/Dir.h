#pragma once
#include <cstdint>
#include <qzm/archive/FileProvider.h>
#include <qzm/core/String.h>

/// One entry of a directory listing, owned by its QZMDir.
struct QZMDirItem : QZMSortableItem {
    enum { HIDDEN = 0x10000, LINK = 0x20000 };

    char* name;     ///< new[] copy of the name as the directory lists it
    uint32_t flags; ///< st_mode (of the target for a link) plus HIDDEN and LINK
    uint32_t size;  ///< st_size
    uint32_t date;  ///< st_mtime
};

/// Listing of one directory of the file system, kept with its absolute path.
class QZMDir : public QZMFileProvider {
public:
    QZMDirItem* items; ///< owned array of count items
    uint32_t count;
    uint32_t subdirs;  ///< items whose mode is a directory, "." and ".." included
    QZMString path;    ///< absolute path, empty when none
    int32_t sortFlags; ///< when non-zero, applied by Sort after every listing

    /// Lists path, or the current directory when path is null or cannot be opened.
    explicit QZMDir(const char* path);

    /// A relative path is taken relative to this directory; "." refreshes the listing.
    /// On failure the old path and listing stay.
    bool Open(const char* path) override;
    /// Null when there is no path.
    const char* Name() const override;
    unsigned NbFiles() const override;
    void Update() override;
    /// A relative name is taken relative to this directory.
    QZMResFile* OpenFile(const char* name) const override;
    QZMResFile* OpenFile(const iterator& it) const override;
    /// Both relative paths are taken relative to this directory.
    bool CopyFile(const char* name, const char* dest) const override;
    void PrintInfo() const override;
    ~QZMDir() override;
    const char* FileName(unsigned i) const override;
    unsigned FileSize(unsigned i) const override;
    unsigned FileDate(unsigned i) const override;
    bool FileAccess(unsigned i, unsigned mask) const override;
    bool IsFileHidden(unsigned i) const override;
    bool IsFile(unsigned i) const override;
    bool IsFileLink(unsigned i) const override;
    bool IsFileDir(unsigned i) const override;
    int CompareFunc(const QZMSortableItem* a, const QZMSortableItem* b) const override;
    QZMSortableItem* GetItem(unsigned i) const override;

    /// Moves to the parent directory; nothing at the root.
    void GoUp();
    void GoRoot();
    /// Lists the process's current directory.
    void GoCWD();
    /// True when only "." and ".." are listed.
    bool IsEmpty() const;
    /// Frees the listing; the path stays.
    void Clear();
    /// Lists the path; the process's current directory must be that directory.
    bool GetContent();
};
