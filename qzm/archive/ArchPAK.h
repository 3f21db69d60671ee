#pragma once
#include <qzm/archive/Archive.h>

/// Quake PAK archive ("PACK"): names of up to 56 characters, no dates (FileDate is 0).
class QZMArchPAK : public QZMArchive {
public:
    QZMArchPAK();

    bool Open(const char* path) override;
    ~QZMArchPAK() override;
    const char* FormatInfo() const override;
    /// Keeps the entries already in memory; Close() first to start empty.
    bool Create(const char* path) override;
    void Close() override;
    QZMResFile* OpenResFile(unsigned i) const override;
    /// Names are cut after their last "/" or "\\" and to 56 characters.
    int AddFile(const char* path, const char* name) override;
    bool RemoveFile(unsigned i) override;
    bool RenameFile(unsigned i, const char* name) override;
    bool UpdateFile(unsigned i, const char* path) override;
    bool ExtractFile(unsigned i, const char* dest) const override;
    int AddFileAs(const char* path, const char* memberPath) override;

    /// Writes the records at dataEnd and then the header; nothing at all without entries.
    bool WriteDirectory(QZMResFile& out);
};
