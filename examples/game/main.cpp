// qzm breakout: a small complete game on the library. With no arguments it plays a recorded
// session headless (SDL's dummy video and disk audio drivers), as fast as it can and the same
// every time, leaving screenshots, a contact sheet of them and the mix in demo.wav;
// --script FILE plays another recording, --window the game itself (arrows, space, Escape),
// --gl shows it through OpenGL. Other options are settings, as "-language Français".
#include "Audio.h"
#include "Display.h"
#include "Game.h"
#include "Png.h"
#include "Render.h"
#include "Script.h"

#include <qzm/qzm.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

const char* const kConfig = "game.cfg";
const char* const kScores = "game.scores";
const char* const kSheet = "game_sheet.png";
const unsigned kSeed = 1977;     // the recorded sessions' random numbers
const unsigned kFrameMs = 20;    // one step of game time
const unsigned kShotEvery = 100; // frames between a session's screenshots
const unsigned kSheetColumns = 5, kSheetRows = 2;

enum Text { TITLE, LAUNCH_HINT, SCORE, LEVEL, GAME_OVER, AGAIN_HINT, HIGH_SCORES };

struct Options {
    bool window = false;
    bool gl = false;
    const char* script = QZM_GAME_SCRIPT;
};

const char* Tr(unsigned n) {
    const char* text = QZMTranslator::Singleton()->GetString(n);
    return text ? text : "?";
}

// Takes the game's own options out of the arguments; the rest are settings.
Options TakeOptions(int& argc, char** argv) {
    Options options;
    int kept = 1;
    for (int i = 1; i < argc; i++) {
        if (strcmp(argv[i], "--window") == 0)
            options.window = true;
        else if (strcmp(argv[i], "--gl") == 0)
            options.gl = true;
        else if (strcmp(argv[i], "--script") == 0 && i + 1 < argc)
            options.script = argv[++i];
        else
            argv[kept++] = argv[i];
    }
    argc = kept;
    return options;
}

void Declare(QZMConfigMgr& cfg, const char* name, const char* text) {
    QZMConfigMgr::CfgValue v = {};
    v.stringValue = const_cast<char*>(text);
    cfg.AddParameter(name, QZMConfigMgr::CFG_STRING, v);
}

void Declare(QZMConfigMgr& cfg, const char* name, int number) {
    QZMConfigMgr::CfgValue v = {};
    v.intValue = number;
    cfg.AddParameter(name, QZMConfigMgr::CFG_INT, v);
}

// The file, then the command line over it; saved back so that options given once stay.
void ReadSettings(QZMConfigMgr& cfg, int argc, char** argv) {
    Declare(cfg, "player", "Player");
    Declare(cfg, "language", "English");
    Declare(cfg, "lives", 3);
    Declare(cfg, "music", 48);
    if (QZMFileUtils::FileExist(kConfig)) cfg.ParseFile(kConfig);
    if (argc > 1) cfg.ParseCL(argc, argv);
    cfg.Save(kConfig, "qzm breakout settings; override any with -name value");
}

const char* Setting(const QZMConfigMgr& cfg, const char* name) {
    const char* text = cfg.GetValue(name, QZMConfigMgr::CFG_STRING).stringValue;
    return text ? text : "";
}

int Number(const QZMConfigMgr& cfg, const char* name, int low, int high) {
    const int n = cfg.GetValue(name, QZMConfigMgr::CFG_INT).intValue;
    return n < low ? low : n > high ? high : n;
}

bool LoadLanguage(const char* name) {
    QZMTranslator* translator = QZMTranslator::Singleton();
    if (translator->Init(QZM_GAME_DATA "/lang", ".lng") == 0) return false;
    return translator->LoadName(name) || translator->Load(nullptr, 0);
}

// Screenshots halved, side by side: the session at a glance.
class ContactSheet {
public:
    explicit ContactSheet(const QZMPal* pal)
        : sheet(kSheetColumns * Game::kWidth / 2, kSheetRows * Game::kHeight / 2, 8) {
        sheet.ReplacePalette(new QZMPal(pal));
        sheet.Rectangle(0, 0, sheet.width, sheet.height, 0);
    }
    void Add(const QZMImage& frame) {
        if (tiles == kSheetColumns * kSheetRows) return;
        const unsigned left = tiles % kSheetColumns * frame.width / 2;
        const unsigned top = tiles / kSheetColumns * frame.height / 2;
        for (unsigned y = 0; y < frame.height / 2; y++)
            for (unsigned x = 0; x < frame.width / 2; x++)
                sheet.pixels[(top + y) * sheet.pitch + left + x] =
                    frame.pixels[2 * y * frame.pitch + 2 * x];
        tiles++;
    }
    bool Save() { return SavePng(sheet, kSheet); }

private:
    QZMImage sheet;
    unsigned tiles = 0;
};

class Session {
public:
    Session(const QZMConfigMgr& cfg, Renderer& renderer, Display& display, Audio& audio)
        : cfg(cfg), renderer(renderer), display(display), audio(audio),
          lives(Number(cfg, "lives", 1, 9)), game(lives), frame(Game::kWidth, Game::kHeight, 8),
          sheet(renderer.Palette()), scores(5, QZMScore::SCORE_HIGH_FIRST, 0) {
        frame.ReplacePalette(new QZMPal(renderer.Palette()));
        scores.Load(kScores);
    }
    bool Run(Script* script);
    void ShowScores();

private:
    bool ReadKeys();
    void Step();
    void Draw();
    void Shoot();
    void Record();

    const QZMConfigMgr& cfg;
    Renderer& renderer;
    Display& display;
    Audio& audio;
    const int lives;
    Game game;
    QZMImage frame;
    ContactSheet sheet;
    QZMScore scores;
    Controls controls;
    bool recorded = false;
};

// Keys held and released; false to quit.
bool Session::ReadKeys() {
    SDL_Event event;
    while (SDL_PollEvent(&event)) {
        if (event.type == SDL_QUIT) return false;
        const bool down = event.type == SDL_KEYDOWN;
        switch (event.key.keysym.sym) {
        case SDLK_ESCAPE: return false;
        case SDLK_LEFT: controls.left = down; break;
        case SDLK_RIGHT: controls.right = down; break;
        case SDLK_SPACE: controls.launch = down; break;
        default: break;
        }
    }
    return true;
}

void Session::Step() {
    if (game.Over() && controls.launch) {
        game = Game(lives);
        recorded = false;
    }
    const unsigned events = game.Step(controls);
    audio.Play(events, game.BallCentreX(), Game::kWidth);
    if (events & EV_GAME_OVER) Record();
}

void Session::Draw() {
    const char* title = nullptr;
    const char* hint = nullptr;
    if (game.Over()) {
        title = Tr(GAME_OVER);
        hint = Tr(AGAIN_HINT);
    } else if (game.BallHeld()) {
        if (game.score == 0 && game.lives == lives) title = Tr(TITLE);
        hint = Tr(LAUNCH_HINT);
    }
    QZMString status;
    status.Format("%s %d   %s %d", Tr(SCORE), game.score, Tr(LEVEL), game.level);
    renderer.Draw(game, frame);
    display.Show(frame, renderer.Layout(status.data, title, hint));
}

void Session::Shoot() {
    const std::string name = display.Shot();
    char path[PATH_MAX];
    if (!name.empty())
        printf("screenshot: %s\n", realpath(name.c_str(), path) ? path : name.c_str());
    sheet.Add(frame);
}

// A game counts once, when it ends or when the player leaves it.
void Session::Record() {
    if (recorded || game.score == 0) return;
    QZMScoreEntry entry = {};
    strncpy(entry.name, Setting(cfg, "player"), sizeof entry.name - 1);
    entry.score = game.score;
    entry.level = game.level;
    scores.Add(&entry);
    scores.Save(kScores, true);
    recorded = true;
}

// A recorded session ends with its script; a played one when the player leaves.
bool Session::Run(Script* script) {
    QZMTimer timer(0);
    for (unsigned n = 0; !script || n <= script->LastFrame(); n++) {
        if (script) script->Play(n);
        if (!ReadKeys()) break;
        Step();
        Draw();
        if (n == 0) display.FadeIn();
        if (script && n % kShotEvery == kShotEvery / 2) Shoot();
        if (!script) timer.WaitAcc(kFrameMs);
    }
    display.FadeOut();
    Record();
    printf("final score: %d (level %d)\n", game.score, game.level);
    if (!script) return true;
    char path[PATH_MAX];
    if (!sheet.Save()) return false;
    printf("contact sheet: %s\n", realpath(kSheet, path) ? path : kSheet);
    return true;
}

void Session::ShowScores() {
    printf("%s:\n", Tr(HIGH_SCORES));
    for (unsigned i = 0; i < scores.Length(); i++)
        printf("  %u. %-19s %6d  %s %d\n", i + 1, scores.entries[i].name,
               int(scores.entries[i].score), Tr(LEVEL), int(scores.entries[i].level));
}

int Play(const Options& options, const QZMConfigMgr& cfg) {
    QZMResFinder finder;
    QZMResMgr resources(finder);
    Renderer renderer(resources);
    if (!finder.AddSource(QZM_GAME_DATA "/game.qzma", false) || !renderer.Load()) {
        printf("game: cannot load its data from " QZM_GAME_DATA "/game.qzma\n");
        return 1;
    }
    Script script;
    const bool scripted = !options.window;
    if (scripted && !script.Load(options.script)) return 1;
    QZM::RandomInit(scripted ? kSeed : 0);
    std::unique_ptr<Display> display = MakeDisplay(options.gl, renderer, finder);
    if (!display->Open()) {
        printf("game: no display\n");
        return 1;
    }
    QZMInput::Singleton()->SetEventTypes(1u << SDL_KEYDOWN | 1u << SDL_KEYUP | 1u << SDL_QUIT);
    Audio audio(resources);
    audio.Open(scripted, Number(cfg, "music", 0, 128));
    Session session(cfg, renderer, *display, audio);
    const bool ok = session.Run(scripted ? &script : nullptr) && audio.Close();
    session.ShowScores();
    delete QZMInput::Singleton();
    return ok ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    const Options options = TakeOptions(argc, argv);
    if (!options.window) { // a recorded session, headless unless SDL is told otherwise
        setenv("SDL_VIDEODRIVER", "dummy", 0);
        RemoveShots(options.gl ? "game_glshot" : "game_shot");
    }
    QZMConfigMgr cfg;
    ReadSettings(cfg, argc, argv);
    const bool translated = LoadLanguage(Setting(cfg, "language"));
    const int status = translated ? Play(options, cfg) : 1;
    if (!translated) printf("game: no language file in " QZM_GAME_DATA "/lang\n");
    delete QZMTranslator::Singleton();
    return status;
}
