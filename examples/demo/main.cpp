// The qzm demo: it shows the library's version, carries a string table through the three
// kinds of stream a game loads from, and packs its data into an archive that it loads back
// through the resource manager.
#include <qzm/qzm.h>

#include "ArchiveDemo.h"

#include <cstdio>
#include <cstring>

namespace {

const char* const kLines[] = {"Welcome to the qzm demo", "Press any key", nullptr,
                              "Game over", "High score: 12000"};
const unsigned kLineCount = sizeof kLines / sizeof kLines[0];

void Show(const char* where, const QZMText& table) {
    printf("%s: %u slots, %u strings\n", where, table.size, table.Length());
    for (unsigned i = 0; i < table.size; i++)
        printf("  [%u] %s\n", i, table.strings[i] ? table.strings[i] : "(none)");
}

bool SameStrings(const QZMText& a, const QZMText& b) {
    if (a.size != b.size) return false;
    for (unsigned i = 0; i < a.size; i++) {
        if (!a.strings[i] != !b.strings[i]) return false;
        if (a.strings[i] && strcmp(a.strings[i], b.strings[i]) != 0) return false;
    }
    return true;
}

bool ThroughDiskFile(QZMText& table) {
    const char* path = "demo_strings.qzmt";
    if (!table.SaveName(path, 0)) return false;
    QZMText back(path, 0);
    Show(path, back);
    return SameStrings(table, back);
}

bool ThroughMemory(QZMText& table) {
    unsigned char block[512];
    QZMMemFile mem(sizeof block, QZMResFile::READWRITE | QZMResFile::TRUNC, block);
    if (!table.Save(mem, 0)) return false;
    mem.SeekStart();
    QZMText back(mem, 0);
    Show("memory block", back);
    return SameStrings(table, back);
}

// The table sits between a header and a trailer, as a member sits inside an archive.
bool ThroughByteRange(QZMText& table) {
    const char* path = "demo_bundle.bin";
    QZMFile bundle(path, QZMResFile::READWRITE | QZMResFile::TRUNC);
    QZMString header("DEMO-BUNDLE-HEADER");
    bundle.WriteStr(header);
    unsigned start = static_cast<unsigned>(bundle.GetPos());
    if (!table.Save(bundle, 0)) return false;
    unsigned end = static_cast<unsigned>(bundle.GetPos());
    bundle.WriteStr(QZMString("TRAILER"));
    bundle.Close();

    QZMPackFile member(path, start, end, QZMResFile::READ, "strings");
    QZMText back(member, 0);
    printf("byte range %u..%u of %s\n", start, end, path);
    Show("  member", back);
    return SameStrings(table, back);
}

} // namespace

int main() {
    printf("qzm %s (version code %u)\n", QZM::Versiont(), QZM::Versioni());

    QZMText table(1);
    for (unsigned i = 0; i < kLineCount; i++) table.SetString(i, kLines[i]);
    Show("original", table);

    bool ok = ThroughDiskFile(table) && ThroughMemory(table) && ThroughByteRange(table) &&
              RunArchiveDemo(table);
    printf("%s\n", ok ? "all round trips matched" : "a round trip did not match");
    return ok ? 0 : 1;
}
