#pragma once
#include <qzm/archive/Archive.h>

/// The library's own archive ("QZMA"): flat, uncompressed, names of up to 31 characters, dates.
class QZMArchQZM : public QZMArchive {
public:
    QZMArchQZM();

    /// A header counting 0 members opens as empty whatever its directory offset.
    bool Open(const char* path) override;
    ~QZMArchQZM() override;
    const char* FormatInfo() const override;
    bool Create(const char* path) override;
    void Close() override;
    QZMResFile* OpenResFile(unsigned i) const override;
    /// Names are cut after their last "/" or "\\" and to 31 characters.
    int AddFile(const char* path, const char* name) override;
    bool RemoveFile(unsigned i) override;
    bool RenameFile(unsigned i, const char* name) override;
    bool UpdateFile(unsigned i, const char* path) override;
    bool ExtractFile(unsigned i, const char* dest) const override;
    int AddFileAs(const char* path, const char* memberPath) override;

    /// Writes the records at dataEnd and then the header; nothing at all without entries.
    bool WriteDirectory(QZMResFile& out);
};
