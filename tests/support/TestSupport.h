#pragma once
#include <cstdint>
#include <string>

class QZMResFile;

namespace qzmtest {

/// A fresh directory under $TMPDIR, removed with its content on destruction.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return dir; }
    /// path()/name
    std::string file(const std::string& name) const;
    /// Writes bytes to file(name), replacing it; returns that path.
    std::string write(const std::string& name, const std::string& bytes) const;

private:
    std::string dir;
};

/// The low bytes of v, least significant first.
std::string Le(uint32_t v, int bytes = 4);
/// Writes bytes to a file, replacing it.
void WriteFile(const std::string& path, const std::string& bytes);
/// The whole file, or "" when it cannot be read.
std::string ReadFile(const std::string& path);
bool FileExists(const std::string& path);
/// What the stream gives from its position (up to 64 bytes), "<none>" for no stream; deletes it.
std::string Drain(QZMResFile* file);

/// Sends the library's log to a temporary file at the given level while alive.
class LogCapture {
public:
    explicit LogCapture(unsigned level = 255);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// Everything logged since construction or the last call.
    std::string text();

private:
    TempDir tmp;
    unsigned oldLevel;
    size_t consumed = 0;
};

} // namespace qzmtest
