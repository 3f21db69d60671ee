#pragma once
#include <qzm/data/Text.h>

#include <cstdio>
#include <cstring>

/// Prints a string table slot by slot.
inline void ShowTable(const char* where, const QZMText& table) {
    printf("%s: %u slots, %u strings\n", where, table.size, table.Length());
    for (unsigned i = 0; i < table.size; i++)
        printf("  [%u] %s\n", i, table.strings[i] ? table.strings[i] : "(none)");
}

/// Same slots, absent and present alike.
inline bool SameStrings(const QZMText& a, const QZMText& b) {
    if (a.size != b.size) return false;
    for (unsigned i = 0; i < a.size; i++) {
        if (!a.strings[i] != !b.strings[i]) return false;
        if (a.strings[i] && strcmp(a.strings[i], b.strings[i]) != 0) return false;
    }
    return true;
}
