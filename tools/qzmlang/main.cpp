// qzmlang: compiles language sources into "LanG" language files and prints them back.
#include <qzm/core/Version.h>
#include <qzm/data/LangSource.h>
#include <qzm/data/Translator.h>

#include <cstdio>
#include <cstring>

namespace {

const char USAGE[] =
    "usage: qzmlang build SOURCE.txt OUT.lng   compile a text source into a language file\n"
    "       qzmlang dump FILE.lng              print a language file in source form\n"
    "       qzmlang --version                  print the library's version\n"
    "\n"
    "A source is UTF-8: a line \"name: LANGUAGE\", then lines \"NUMBER: text\" with the\n"
    "escapes \\n, \\t and \\\\. Numbers not given are absent strings; lines beginning with\n"
    "'#' are comments; blank lines are ignored.\n"
    "Exit status: 0 done, 1 failed, 2 bad usage.\n";

int Build(const char* source, const char* output) {
    QZMLangSource lang;
    if (lang.ParseFile(source) && lang.SaveName(output)) return 0;
    fprintf(stderr, "qzmlang: %s\n", lang.error.data);
    return 1;
}

int Dump(const char* file) {
    QZMTranslator* translator = QZMTranslator::Singleton();
    QZMLangSource lang;
    QZMString text;
    bool ok =
        translator && translator->Load(file, 0) && lang.Take(*translator) && lang.Source(text);
    delete translator;
    if (!ok) {
        fprintf(stderr, "qzmlang: %s: not a readable language file\n", file);
        return 1;
    }
    if (text.length) fwrite(text.data, 1, text.length, stdout);
    return fflush(stdout) == 0 ? 0 : 1;
}

int BadUsage(const char* reason) {
    fprintf(stderr, "qzmlang: %s\n%s", reason, USAGE);
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; i++) {
        if (strcmp(argv[i], "--help") == 0 || strcmp(argv[i], "-h") == 0) {
            fputs(USAGE, stdout);
            return 0;
        }
        if (strcmp(argv[i], "--version") == 0) {
            printf("qzmlang (qzm) %s\n", QZM::Versiont());
            return 0;
        }
    }
    if (argc < 2) return BadUsage("missing command");
    const bool build = strcmp(argv[1], "build") == 0, dump = strcmp(argv[1], "dump") == 0;
    if (build && argc == 4) return Build(argv[2], argv[3]);
    if (dump && argc == 3) return Dump(argv[2]);
    if (build) return BadUsage("build needs SOURCE.txt and OUT.lng");
    if (dump) return BadUsage("dump needs FILE.lng");
    return BadUsage("unknown command");
}
