// Makes the game's palette and sprites at build time: qzm_game_assets DIR writes game.pal,
// bricks.pcx (one brick per row colour, stacked), paddle.bmp and ball.tga, all 8-bit in the
// game's palette with index 0 transparent.
#include "Game.h"
#include "Palette.h"

#include <qzm/qzm.h>

#include <cstdio>
#include <string>

namespace {

QZMPal* GamePalette() {
    QZMPal* pal = new QZMPal(256u);
    for (unsigned i = 0; i < pal->size; i++) {
        const palette::Colour c = palette::At(i);
        pal->entries[i] = {c.r, c.g, c.b, 0};
    }
    return pal;
}

// An empty 8-bit sprite in the game's palette.
QZMImage* NewSprite(unsigned width, unsigned height) {
    QZMImage* sprite = new QZMImage(width, height, 8);
    sprite->ReplacePalette(GamePalette());
    sprite->Rectangle(0, 0, width, height, palette::BLACK);
    return sprite;
}

// A lit top-left edge over the row's colour.
bool SaveBricks(const std::string& path) {
    const Box brick = Game::BrickBox(0, 0);
    QZMImage* sheet = NewSprite(brick.w, brick.h * Game::kRows);
    for (int row = 0; row < Game::kRows; row++) {
        const int y = row * brick.h;
        sheet->Rectangle(0, y, brick.w, brick.h, palette::BRICK_FIRST + row);
        sheet->HLine(0, y, brick.w, palette::LIGHT_FIRST + row);
        sheet->VLine(0, y, brick.h, palette::LIGHT_FIRST + row);
    }
    bool ok = sheet->SaveName(path.c_str(), 2);
    delete sheet;
    return ok;
}

bool SavePaddle(const std::string& path) {
    const int w = Game::kPaddleWidth, h = Game::kPaddleHeight;
    QZMImage* paddle = NewSprite(w, h);
    paddle->Rectangle(h / 2, 0, w - h, h, palette::PADDLE);
    paddle->Disk(h / 2, h / 2, h / 2 - 1, palette::PADDLE);
    paddle->Disk(w - h / 2 - 1, h / 2, h / 2 - 1, palette::PADDLE);
    paddle->HLine(h / 2, 1, w - h, palette::PADDLE_LIGHT);
    bool ok = paddle->SaveName(path.c_str(), 1);
    delete paddle;
    return ok;
}

bool SaveBall(const std::string& path) {
    const int size = Game::kBallSize;
    QZMImage* ball = NewSprite(size, size);
    ball->Disk(size / 2, size / 2, size / 2 - 1, palette::BALL);
    ball->Rectangle(size / 2 - 1, 1, 1, 1, palette::WHITE);
    bool ok = ball->SaveName(path.c_str(), 4);
    delete ball;
    return ok;
}

bool SavePalette(const std::string& path) {
    QZMPal* pal = GamePalette();
    bool ok = pal->SaveName(path.c_str(), 1);
    delete pal;
    return ok;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: qzm_game_assets DIR\n");
        return 2;
    }
    const std::string dir = std::string(argv[1]) + "/";
    QZMFileUtils::DirCreate(argv[1]);
    const bool ok = SavePalette(dir + "game.pal") && SaveBricks(dir + "bricks.pcx") &&
                    SavePaddle(dir + "paddle.bmp") && SaveBall(dir + "ball.tga");
    if (!ok) fprintf(stderr, "qzm_game_assets: cannot write into %s\n", argv[1]);
    return ok ? 0 : 1;
}
