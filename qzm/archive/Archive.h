#pragma once
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>
#include <qzm/archive/FileProvider.h>

class QZMFile;

namespace QZM::internal {
class SharedFile;
}

/// One archive member.
struct ArchiveEntry : QZMSortableItem {
    char* name;     ///< owned new[] name, without any directory part
    uint32_t size;  ///< length in bytes
    uint32_t start; ///< absolute offset of the first byte in the archive file
    uint32_t date;  ///< seconds since 1970, 0 where the format keeps none

    ArchiveEntry(int32_t index, char* ownedName, uint32_t size, uint32_t start, uint32_t date);
    ~ArchiveEntry();
    ArchiveEntry(const ArchiveEntry&) = delete;
    ArchiveEntry& operator=(const ArchiveEntry&) = delete;
};

/// Base of the archive formats: member table, lookup, member streams, editing and detection.
/// Editing operations reopen the archive file by its path. Member streams read through one
/// descriptor, opened by the first OpenResFile and let go whenever this object changes the file or
/// the path no longer names it unchanged (the streams keep it as long as they need it).
class QZMArchive : public QZMFileProvider {
public:
    /// Codes of FindArchiveFormat.
    enum {
        FORMAT_UNKNOWN = 0,
        FORMAT_QZM = 1,
        FORMAT_PAK = 2,
        FORMAT_BIF = 4,
        FORMAT_INDEXED = 5,
        FORMAT_ENSEMBLE = 6,
        FORMAT_RASS = 7,
        FORMAT_ZIP = 8
    };

    char* name;                         ///< owned absolute path of the archive file, null when closed
    std::vector<ArchiveEntry*> entries; ///< owned, in file order
    int32_t type;                       ///< FORMAT_QZM or FORMAT_PAK
    uint32_t dataEnd;                   ///< where the next added member's data goes; 12 when empty

    explicit QZMArchive(int type);

    const char* Name() const override;
    unsigned NbFiles() const override;
    /// New stream over the named member, owned by the caller, or null.
    QZMResFile* OpenFile(const char* name) const override;
    QZMResFile* OpenFile(const iterator& it) const override;
    /// Extracts the named member to the file dest.
    bool CopyFile(const char* name, const char* dest) const override;
    void PrintInfo() const override;
    ~QZMArchive() override;
    const char* FileName(unsigned i) const override;
    unsigned FileSize(unsigned i) const override;
    unsigned FileDate(unsigned i) const override;
    /// Always true.
    bool FileAccess(unsigned i, unsigned mode) const override;
    /// Always false.
    bool IsFileHidden(unsigned i) const override;
    /// Always true.
    bool IsFile(unsigned i) const override;
    /// Always false.
    bool IsFileLink(unsigned i) const override;
    /// Always false.
    bool IsFileDir(unsigned i) const override;
    int CompareFunc(const QZMSortableItem* a, const QZMSortableItem* b) const override;
    QZMSortableItem* GetItem(unsigned i) const override;

    /// One-line description of the format.
    virtual const char* FormatInfo() const = 0;
    /// Makes a new empty archive file; an existing file is never overwritten.
    virtual bool Create(const char* path) = 0;
    /// Frees the name and every entry.
    virtual void Close();
    /// New stream over member i, owned by the caller and valid after the archive is gone; or null.
    virtual QZMResFile* OpenResFile(unsigned i) const = 0;
    /// Copies the file at path in as a new member named `name` (path's file name when null);
    /// returns its index or -1. An empty file is refused. The data is written in place over
    /// the old directory, which is written again behind it: the call must not be interrupted
    /// (a failed write puts the old directory back, but a killed process cannot).
    virtual int AddFile(const char* path, const char* name) = 0;
    /// Index of the first member with exactly this name, or -1.
    virtual int FindFile(const char* name) const;
    virtual bool RemoveFile(unsigned i) = 0;
    /// A directory part of name is dropped.
    virtual bool RenameFile(unsigned i, const char* name) = 0;
    /// Replaces member i's content with the file at path, keeping its name.
    virtual bool UpdateFile(unsigned i, const char* path) = 0;
    /// Writes member i to the file dest.
    virtual bool ExtractFile(unsigned i, const char* dest) const = 0;
    /// Writes every member into the existing directory dir; false only when dir is not one.
    virtual bool ExtractAll(const char* dir) const;
    /// Sum of all member sizes, wrapping at 32 bits.
    virtual unsigned TotalSize() const;
    /// As AddFile, but the member is named by memberPath as it stands, folders included
    /// ("progs/player.mdl"); -1 for an absolute path, a ".." or empty folder, or a name longer
    /// than the format keeps.
    virtual int AddFileAs(const char* path, const char* memberPath) = 0;

    /// One of the FORMAT_ codes, from the file's first bytes.
    static int FindArchiveFormat(const char* path);
    /// New opened archive of the detected format, owned by the caller, or null.
    static QZMArchive* OpenArchive(const char* path);
    /// Stores path made absolute; nothing for a null or empty path.
    void SetName(const char* path);
    /// Logs a table of the members.
    void PrintContent() const;

    /// What the shared editing code needs to know of a format.
    struct Format {
        unsigned nameMax; ///< longest member name kept
        bool keepsDates;  ///< members carry their source file's modification time
        /// Writes the records at dataEnd, then the header; nothing when there is no entry.
        bool (*writeDirectory)(QZMArchive& archive, QZMResFile& out);
    };

protected:
    /// Builds one entry from a directory record, or null when out of memory.
    using RecordParser = ArchiveEntry* (*)(const uint8_t* record, int32_t index);
    /// Fills a directory record from an entry.
    using RecordWriter = void (*)(const ArchiveEntry& entry, uint8_t* record);

    static constexpr uint32_t kHeaderSize = 12;

    /// Reads a whole 12-byte header; false unless it starts with the 4-byte magic.
    static bool ReadHeader(QZMFile& file, const char* magic, uint32_t& dirOffset, uint32_t& third);
    /// Parses the records of the directory [offset, offset + length); a trailing partial
    /// record is ignored. False when the range leaves the file or memory runs out.
    static bool LoadDirectory(QZMFile& file, uint32_t offset, uint64_t length, unsigned recordSize,
                              RecordParser parse, std::vector<ArchiveEntry*>& out);
    /// Makes `fresh` the directory of the archive at path; the old one is freed.
    void Adopt(std::vector<ArchiveEntry*>& fresh, const char* path, uint32_t dataEnd);
    /// Writes every entry's record at dataEnd.
    bool WriteRecords(QZMResFile& out, unsigned recordSize, RecordWriter write) const;
    static bool WriteHeader(QZMResFile& out, const char* magic, uint32_t dirOffset, uint32_t third);
    /// Writes a new file holding only the header; false for an existing file.
    static bool CreateEmpty(const char* path, const char* magic);

    QZMResFile* PrivateOpenMember(unsigned i) const;
    bool PrivateExtract(unsigned i, const char* dest) const;
    int PrivateAdd(const char* path, const char* name, const Format& format);
    int PrivateAddAs(const char* path, const char* memberPath, const Format& format);
    bool PrivateRemove(unsigned i, const Format& format);
    bool PrivateRename(unsigned i, const char* name, const Format& format);
    bool PrivateUpdate(unsigned i, const char* path, const Format& format);

private:
    /// Adds the file at path as a member named `stored`, which it takes over.
    int PrivateAddNamed(const char* path, char* stored, const Format& format);
    /// Rewrites the directory in the archive file itself.
    bool PrivateRewriteDirectory(const Format& format);
    /// Writes the directory into the temporary file and renames it over the archive.
    bool PrivateCommitTemp(QZMFile& temp, const Format& format);
    void PrivateShiftStarts(unsigned from, uint32_t delta);
    void PrivateInvalidateIndex();
    /// Lets go of the file that member streams read; the next OpenResFile opens it afresh.
    void PrivateReleaseMemberFile() const;

    // Name -> lowest index, built on the first lookup after a change.
    mutable std::unordered_map<std::string_view, uint32_t> nameIndex;
    mutable bool nameIndexValid;
    // The archive file as last opened for member streams, with its size then; null until needed.
    mutable QZM::internal::SharedFile* memberFile;
};
