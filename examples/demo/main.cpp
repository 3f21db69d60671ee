// The qzm demo: it shows the library's version, carries a string table through the three
// kinds of stream a game loads from, and packs its data into an archive that it loads back
// through the resource manager, renders a scene with a font and a sprite it made, then
// shows the scene on screen, plays music with sound effects (captured into demo.wav), and keeps
// its settings, texts in two languages and a high-score table. It runs headless (SDL's dummy
// video driver, the disk audio driver) unless given --window; --gl shows the scene and the
// font with OpenGL too, which needs an X display.
#include <qzm/qzm.h>

#include "ArchiveDemo.h"
#include "DataDemo.h"
#include "GLDemo.h"
#include "SceneDemo.h"
#include "ScreenDemo.h"
#include "SoundDemo.h"
#include "Tables.h"

#include <cstdio>
#include <cstring>

namespace {

const char* const kLines[] = {"Welcome to the qzm demo", "Press any key", nullptr,
                              "Game over", "High score: 12000"};
const unsigned kLineCount = sizeof kLines / sizeof kLines[0];

bool ThroughDiskFile(QZMText& table) {
    const char* path = "demo_strings.qzmt";
    if (!table.SaveName(path, 0)) return false;
    QZMText back(path, 0);
    ShowTable(path, back);
    return SameStrings(table, back);
}

bool ThroughMemory(QZMText& table) {
    unsigned char block[512];
    QZMMemFile mem(sizeof block, QZMResFile::READWRITE | QZMResFile::TRUNC, block);
    if (!table.Save(mem, 0)) return false;
    mem.SeekStart();
    QZMText back(mem, 0);
    ShowTable("memory block", back);
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
    ShowTable("  member", back);
    return SameStrings(table, back);
}

// Takes the option out of the arguments, which are otherwise settings options.
bool TakeOption(const char* option, int& argc, char** argv) {
    int kept = 1;
    bool given = false;
    for (int i = 1; i < argc; i++) {
        if (strcmp(argv[i], option) == 0)
            given = true;
        else
            argv[kept++] = argv[i];
    }
    argc = kept;
    return given;
}

} // namespace

int main(int argc, char** argv) {
    bool window = TakeOption("--window", argc, argv);
    bool gl = TakeOption("--gl", argc, argv);
    printf("qzm %s (version code %u)\n", QZM::Versiont(), QZM::Versioni());

    QZMText table(1);
    for (unsigned i = 0; i < kLineCount; i++) table.SetString(i, kLines[i]);
    ShowTable("original", table);

    bool ok = ThroughDiskFile(table) && ThroughMemory(table) && ThroughByteRange(table) &&
              RunArchiveDemo(table) && RunSceneDemo() && RunScreenDemo(window) &&
              RunSoundDemo(window) && (!gl || RunGLDemo()) && RunDataDemo(argc, argv);
    printf("%s\n", ok ? "every step worked" : "a step failed");
    return ok ? 0 : 1;
}
