// qzmlang: compiles language sources into "LanG" language files and prints them back.
#include <qzm/data/LangSource.h>
#include <qzm/data/Translator.h>

#include <cstdio>
#include <cstring>

namespace {

const char USAGE[] =
    "usage: qzmlang build SOURCE.txt OUT.lng   compile a text source into a language file\n"
    "       qzmlang dump FILE.lng              print a language file in source form\n"
    "\n"
    "A source is UTF-8: a line \"name: LANGUAGE\", then lines \"NUMBER: text\" with the\n"
    "escapes \\n, \\t and \\\\. Numbers not given are absent strings; lines beginning with\n"
    "'#' are comments; blank lines are ignored.\n"
    "Exit status: 0 done, 1 failed, 2 bad usage.\n";

int Build(const char* source, const char* output) {
    QZMLangSource lang;
    if (lang.ParseFile(source) && lang.SaveName(output)) return 0;
    fprintf(stderr, "%s\n", lang.error.data);
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
        fprintf(stderr, "%s: not a readable language file\n", file);
        return 1;
    }
    if (text.length) fwrite(text.data, 1, text.length, stdout);
    return fflush(stdout) == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; i++) {
        if (strcmp(argv[i], "--help") == 0 || strcmp(argv[i], "-h") == 0) {
            fputs(USAGE, stdout);
            return 0;
        }
    }
    if (argc == 4 && strcmp(argv[1], "build") == 0) return Build(argv[2], argv[3]);
    if (argc == 3 && strcmp(argv[1], "dump") == 0) return Dump(argv[2]);
    fputs(USAGE, stderr);
    return 2;
}
