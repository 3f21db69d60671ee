#include "tests/support/TestSupport.h"

#include <qzm/core/Log.h>
#include <qzm/io/ResFile.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

namespace fs = std::filesystem;

namespace qzmtest {

TempDir::TempDir() {
    std::string pattern = (fs::temp_directory_path() / "qzmtest-XXXXXX").string();
    char* made = mkdtemp(pattern.data());
    dir = made ? made : pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    fs::remove_all(dir, ignored);
}

std::string TempDir::file(const std::string& name) const { return dir + "/" + name; }

std::string TempDir::write(const std::string& name, const std::string& bytes) const {
    WriteFile(file(name), bytes);
    return file(name);
}

std::string Le(uint32_t v, int bytes) {
    std::string out;
    for (int i = 0; i < bytes; i++) out += char(v >> 8 * i);
    return out;
}

void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
}

bool FileExists(const std::string& path) { return fs::exists(path); }

std::string Drain(QZMResFile* file) {
    std::unique_ptr<QZMResFile> owned(file);
    char buf[64];
    return file ? std::string(buf, file->Read(buf, sizeof buf)) : "<none>";
}

LogCapture::LogCapture(unsigned level) : oldLevel(QZM::GetLogLevel()) {
    QZM::SetLogTarget(2, tmp.file("log.txt").c_str());
    QZM::SetLogLevel(level);
}

LogCapture::~LogCapture() {
    QZM::SetLogTarget(0, nullptr);
    QZM::SetLogLevel(oldLevel);
}

std::string LogCapture::text() {
    std::string all = ReadFile(tmp.file("log.txt"));
    std::string fresh = all.substr(consumed < all.size() ? consumed : all.size());
    consumed = all.size();
    return fresh;
}

} // namespace qzmtest
