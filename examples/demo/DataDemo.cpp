// The data part of the demo: settings, translations and a score table that lasts across runs.
#include "DataDemo.h"

#include <qzm/core/Random.h>
#include <qzm/data/ConfigMgr.h>
#include <qzm/data/LangSource.h>
#include <qzm/data/Score.h>
#include <qzm/data/Translator.h>

#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char CONFIG_FILE[] = "demo.cfg";
const char SCORE_FILE[] = "demo.scores";
const char LANG_DIR[] = "lang";

// The sources a translator would edit; written once, compiled on every run.
const struct {
    const char* source;
    const char* target;
    const char* text;
} LANGUAGES[] = {
    {"lang/en.txt", "lang/en.lng",
     "# English texts of the demo\n"
     "name: English\n"
     "0: Welcome to the qzm data demo\n"
     "1: Player\n"
     "2: Difficulty\n"
     "3: High scores\n"
     "4: You entered the table at rank\n"
     "5: Your score did not enter the table\n"
     "7: Goodbye!\n"},
    {"lang/fr.txt", "lang/fr.lng",
     "# Textes fran\xC3\xA7"
     "ais de la d\xC3\xA9mo\n"
     "name: Fran\xC3\xA7"
     "ais\n"
     "0: Bienvenue dans la d\xC3\xA9mo de donn\xC3\xA9"
     "es qzm\n"
     "1: Joueur\n"
     "2: Difficult\xC3\xA9\n"
     "3: Meilleurs scores\n"
     "4: Vous entrez au tableau au rang\n"
     "5: Votre score n'entre pas au tableau\n"
     "7: Au revoir !\n"},
};

enum Text { WELCOME, PLAYER, DIFFICULTY, HIGH_SCORES, ENTERED, NOT_ENTERED, UNUSED, GOODBYE };

bool Exists(const char* path) {
    struct stat info;
    return stat(path, &info) == 0;
}

const char* StringSetting(const QZMConfigMgr& cfg, const char* name) {
    const char* text = cfg.GetValue(name, QZMConfigMgr::CFG_STRING).stringValue;
    return text ? text : "";
}

const char* Tr(unsigned n) {
    const char* text = QZMTranslator::Singleton()->GetString(n);
    return text ? text : "(absent)";
}

void DeclareSettings(QZMConfigMgr& cfg) {
    QZMConfigMgr::CfgValue v;
    memset(&v, 0, sizeof v);
    v.stringValue = const_cast<char*>("Player One");
    cfg.AddParameter("player", QZMConfigMgr::CFG_STRING, v);
    v.stringValue = const_cast<char*>("English");
    cfg.AddParameter("language", QZMConfigMgr::CFG_STRING, v);
    v.intValue = 2;
    cfg.AddParameter("difficulty", QZMConfigMgr::CFG_INT, v);
    v.intValue = 640;
    cfg.AddParameter("width", QZMConfigMgr::CFG_INT, v);
    v.intValue = 480;
    cfg.AddParameter("height", QZMConfigMgr::CFG_INT, v);
    v.boolValue = false;
    cfg.AddParameter("fullscreen", QZMConfigMgr::CFG_BOOL, v);
    v.colorValue = {0x33, 0x66, 0xCC, 0xFF};
    cfg.AddParameter("colour", QZMConfigMgr::CFG_COLOR, v);
}

// The file first, then the command line, so that an option overrides the file.
bool ReadSettings(QZMConfigMgr& cfg, int argc, char** argv) {
    DeclareSettings(cfg);
    if (!Exists(CONFIG_FILE)) {
        printf("settings: creating %s with the defaults\n", CONFIG_FILE);
        if (!cfg.Save(CONFIG_FILE, "qzm demo settings; override any with -name value"))
            return false;
    }
    printf("settings: reading %s%s\n", CONFIG_FILE,
           cfg.ParseFile(CONFIG_FILE) ? "" : " (no value in it)");
    if (argc > 1 && !cfg.ParseCL(argc, argv))
        printf("settings: some options were not understood (see the log)\n");
    QZMRGBA colour = cfg.GetValue("colour", QZMConfigMgr::CFG_COLOR).colorValue;
    printf("settings: player \"%s\", difficulty %d, colour %s, window %dx%d%s, language %s\n",
           StringSetting(cfg, "player"), cfg.GetValue("difficulty", 0).intValue,
           colour.WebString(false), cfg.GetValue("width", 0).intValue,
           cfg.GetValue("height", 0).intValue,
           cfg.GetValue("fullscreen", 0).boolValue ? " full screen" : "",
           StringSetting(cfg, "language"));
    return true;
}

// Writes missing sources, compiles every source to its .lng, and lists what the translator finds.
bool BuildLanguages() {
    mkdir(LANG_DIR, 0755);
    for (const auto& lang : LANGUAGES) {
        if (!Exists(lang.source)) {
            FILE* out = fopen(lang.source, "w");
            if (!out) return false;
            fputs(lang.text, out);
            fclose(out);
        }
        QZMLangSource source;
        if (!source.ParseFile(lang.source) || !source.SaveName(lang.target)) {
            printf("languages: %s\n", source.error.data);
            return false;
        }
        printf("languages: compiled %s into %s\n", lang.source, lang.target);
    }
    QZMTranslator* translator = QZMTranslator::Singleton();
    unsigned found = translator->Init(LANG_DIR, ".lng");
    for (unsigned i = 0; i < found; i++)
        printf("languages: found %s in %s\n", translator->GetLangName(i),
               translator->GetLangFile(i));
    return found >= 2;
}

void ShowEveryLanguage() {
    QZMTranslator* translator = QZMTranslator::Singleton();
    for (unsigned i = 0; i < translator->fileCount; i++) {
        if (!translator->Load(nullptr, i)) continue;
        printf("[%s] %s | %s, %s | string %d: %s | string 9: %s\n", translator->GetCurName(),
               Tr(WELCOME), Tr(PLAYER), Tr(DIFFICULTY), UNUSED, Tr(UNUSED), Tr(9));
    }
}

bool KeepScore(const QZMConfigMgr& cfg) {
    QZMScore table(5, QZMScore::SCORE_HIGH_FIRST, 0);
    printf("scores: %s\n", table.Load(SCORE_FILE) ? "loaded demo.scores" : "starting a new table");
    int difficulty = cfg.GetValue("difficulty", 0).intValue;
    QZMScoreEntry entry = {};
    strncpy(entry.name, StringSetting(cfg, "player"), sizeof entry.name - 1);
    entry.level = difficulty;
    QZM::RandomInit(0);
    entry.score = (100 + QZM::Randomi(900)) * (difficulty > 0 ? difficulty : 1);
    int rank = table.Add(&entry);
    printf("scores: %s scored %d. ", entry.name, static_cast<int>(entry.score));
    if (rank >= 0)
        printf("%s %d\n", Tr(ENTERED), rank + 1);
    else
        printf("%s\n", Tr(NOT_ENTERED));
    printf("%s:\n", Tr(HIGH_SCORES));
    for (unsigned i = 0; i < table.Length(); i++)
        printf("  %u. %-19s %8d  (%s %d)\n", i + 1, table.entries[i].name,
               static_cast<int>(table.entries[i].score), Tr(DIFFICULTY),
               static_cast<int>(table.entries[i].level));
    return table.Save(SCORE_FILE, true);
}

} // namespace

bool RunDataDemo(int argc, char** argv) {
    QZMConfigMgr cfg;
    bool ok = ReadSettings(cfg, argc, argv) && BuildLanguages();
    if (ok) {
        ShowEveryLanguage();
        QZMTranslator* translator = QZMTranslator::Singleton();
        if (!translator->LoadName(StringSetting(cfg, "language"))) translator->Load(nullptr, 0);
        printf("%s, %s!\n", Tr(WELCOME), StringSetting(cfg, "player"));
        ok = KeepScore(cfg);
        printf("%s\n", Tr(GOODBYE));
    }
    delete QZMTranslator::Singleton();
    return ok;
}
