#pragma once
#include <cstdint>

class QZMResFile;

/// Head of every listed entry: the sort permutes only these index fields.
struct QZMSortableItem {
    int32_t index;
};

/// Abstract list of files (a directory or an archive) that can be listed, sorted and opened.
class QZMFileProvider {
public:
    /// Flags of Sort(): a key in bits 0-2 plus modifiers.
    enum {
        SORT_NAME = 1,
        SORT_SIZE = 2,
        SORT_DATE = 3,
        SORT_EXT = 4,
        SORT_KEY = 0x07,
        SORT_REVERSE = 0x10,
        SORT_CASE = 0x20,
        SORT_DIRFIRST = 0x40
    };

    /// Steps through a provider's entries in sorted order:
    /// for (QZMFileProvider::iterator it(p); !it.AtEnd(); it.Next()) p.OpenFile(it);
    class iterator {
    public:
        explicit iterator(const QZMFileProvider& provider, unsigned position = 0);
        virtual ~iterator() = default;

        /// Index of the entry at the current sorted position, -1 past the end.
        virtual int Index() const;

        unsigned Position() const { return position; }
        bool AtEnd() const;
        void Next() { ++position; }

    protected:
        const QZMFileProvider* provider;
        unsigned position;
    };

    uint8_t sortKey;       ///< 0 unsorted, 1 name, 2 size, 3 date, 4 extension (5-7 as name)
    uint8_t dirsFirst;     ///< directories before everything else
    uint8_t reverse;       ///< reverse the order
    uint8_t caseSensitive; ///< compare names and extensions case-sensitively

    QZMFileProvider();
    QZMFileProvider(const QZMFileProvider&) = delete;
    QZMFileProvider& operator=(const QZMFileProvider&) = delete;

    virtual bool Open(const char* path) = 0;
    /// Null for a directory without a path.
    virtual const char* Name() const = 0;
    virtual unsigned NbFiles() const = 0;
    virtual void Update();
    /// New stream owned by the caller, or null.
    virtual QZMResFile* OpenFile(const char* name) const = 0;
    /// New stream owned by the caller for the iterator's entry, or null.
    virtual QZMResFile* OpenFile(const iterator& it) const = 0;
    /// Renumbers the indices, then sorts them when flags has a key; the flags are kept.
    virtual void Sort(int flags);
    virtual bool CopyFile(const char* name, const char* dest) const = 0;
    virtual void PrintInfo() const = 0;
    virtual ~QZMFileProvider();
    /// FileName, FileSize, FileDate and the tests do not check i.
    virtual const char* FileName(unsigned i) const = 0;
    virtual unsigned FileSize(unsigned i) const = 0;
    /// Seconds since 1970.
    virtual unsigned FileDate(unsigned i) const = 0;
    /// True when all bits of mask are set in the entry's permission bits.
    virtual bool FileAccess(unsigned i, unsigned mask) const = 0;
    virtual bool IsFileHidden(unsigned i) const = 0;
    virtual bool IsFile(unsigned i) const = 0;
    virtual bool IsFileLink(unsigned i) const = 0;
    virtual bool IsFileDir(unsigned i) const = 0;
    /// Negative, 0 or positive under the stored sort key and flags.
    virtual int CompareFunc(const QZMSortableItem* a, const QZMSortableItem* b) const = 0;
    virtual QZMSortableItem* GetItem(unsigned i) const = 0;

protected:
    /// Key comparison shared by the providers, name as tie-break, negated when reverse is set.
    int CompareFields(const char* nameA, uint32_t sizeA, uint32_t dateA, const char* nameB,
                      uint32_t sizeB, uint32_t dateB) const;
};
