// A game's view of the installed library: one include, one library.
#include <qzm/qzm.h>

#include <cstdio>
#include <cstring>

int main() {
    if (QZM::Versioni() != 2000 || strcmp(QZM::Versiont(), "0.20.0") != 0) return 1;
    unsigned char block[64] = {};
    QZMMemFile mem(sizeof block, QZMResFile::READWRITE, block);
    QZMText table(2);
    table.SetString(0, "installed");
    if (!table.Save(mem, 0)) return 2;
    mem.SeekStart();
    QZMText back(mem, 0);
    if (back.size != 1 || strcmp(back.strings[0], "installed") != 0) return 3;
    printf("client: %s\n", QZM::Versiont());
    return 0;
}
