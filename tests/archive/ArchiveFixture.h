#pragma once
// Byte builders for hand-made archive layouts and fixtures that work inside a temporary
// directory (archive edits put their temporary file in the current directory).
#include "tests/support/TestSupport.h"

#include <qzm/archive/FileProvider.h>

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>
#include <utime.h>

#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

namespace qzmtest {

/// name followed by zeros up to width bytes.
inline std::string Field(const std::string& name, size_t width) {
    return name + std::string(width - name.size(), '\0');
}

inline std::string Header(const char* magic, uint32_t dirOffset, uint32_t third) {
    return magic + Le(dirOffset) + Le(third);
}

using Names = std::vector<std::string>;

/// The provider's names in sorted order, each followed by its size when asked.
inline Names Order(const QZMFileProvider& p, bool sizes = false) {
    Names names;
    for (QZMFileProvider::iterator it(p); !it.AtEnd(); it.Next()) {
        unsigned i = unsigned(it.Index());
        names.push_back(p.FileName(i) + (sizes ? std::to_string(p.FileSize(i)) : ""));
    }
    return names;
}

/// Writes of any file stop at `bytes` while alive, as on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &old);
        rlimit limited = {bytes, old.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &old); }

private:
    rlimit old;
};

class ArchiveFixture : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(getcwd(oldDir, sizeof oldDir), nullptr);
        ASSERT_EQ(chdir(dir.path().c_str()), 0);
    }
    void TearDown() override { ASSERT_EQ(chdir(oldDir), 0); }

    /// Writes a file in the temporary directory with the given modification time; returns its path.
    std::string Make(const std::string& name, const std::string& bytes, time_t date = 1000000000) {
        std::string path = dir.write(name, bytes);
        utimbuf times = {date, date};
        utime(path.c_str(), &times);
        return path;
    }

    TempDir dir;
    std::string path = dir.file("test.arc");
    char oldDir[4096];
};

/// An archive object of format A for the file at path.
template <class A> class ArchiveOf : public ArchiveFixture {
protected:
    /// Whether a fresh archive of format A opens these bytes, written at path.
    bool Opens(const std::string& bytes) {
        WriteFile(path, bytes);
        A other;
        return other.Open(path.c_str());
    }

    A arch;
};

} // namespace qzmtest
