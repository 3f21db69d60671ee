// Compiles two tiny language sources into language files, lets the translator find them, and
// prints the game's strings in each language; an argument picks the language to play in.
// Run: qzm_example_data_translation [LANGUAGE]   (writes example_lang/en.lng and fr.lng)
// qzmlang compiles sources the same way from the shell.
#include <qzm/qzm.h>

#include <cstdio>
#include <cstring>

// The language's name, then one "NUMBER: text" line per string: the game asks by number.
const char* const kSources[][2] = {
    {"example_lang/en.lng", "name: English\n0: New game\n1: Options\n2: Quit\n"},
    {"example_lang/fr.lng",
     "name: Fran\xC3\xA7" "ais\n0: Nouvelle partie\n1: Options\n2: Quitter\n"},
};

static bool Compile(const char* target, const char* text) {
    QZMLangSource source;
    if (source.Parse(text, unsigned(strlen(text)), target) && source.SaveName(target)) return true;
    fprintf(stderr, "%s\n", source.error.data);  // "SOURCE:LINE: message"
    return false;
}

static void PrintMenu(QZMTranslator& language) {
    printf("[%s]", language.GetCurName());
    for (unsigned n = 0; n < 3; n++) {
        const char* text = language.GetString(n);  // null when this language lacks it
        printf(" %s |", text ? text : "?");
    }
    printf("\n");
}

int main(int argc, char** argv) {
    QZMFileUtils::DirCreate("example_lang");  // fails harmlessly when it is there already
    for (const auto& source : kSources)
        if (!Compile(source[0], source[1])) return 1;

    QZMTranslator* language = QZMTranslator::Singleton();
    const unsigned found = language->Init("example_lang", ".lng");
    for (unsigned i = 0; i < found; i++)
        if (language->Load(nullptr, i)) PrintMenu(*language);
    const char* wanted = argc > 1 ? argv[1] : "English";
    const bool ok = language->LoadName(wanted);  // by the name inside the file
    printf(ok ? "playing in %s\n" : "no language named %s\n", wanted);
    delete language;  // the translator is a singleton: gone at exit
    return ok ? 0 : 1;
}
