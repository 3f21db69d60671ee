// Draws the game into an 8-bit frame in the game's palette, with sprites and fonts loaded
// through the resource manager. Text is laid out apart from the drawing so that the OpenGL
// display can draw the same lines with its own font.
#pragma once

#include "Game.h"

#include <qzm/qzm.h>

#include <string>
#include <vector>

struct TextLine {
    int x, y; // top left
    std::string text; // Latin-1, as the fonts are made
    unsigned colour;  // palette index
    bool big;
};

class Renderer {
public:
    explicit Renderer(QZMResMgr& resources) : resources(resources) {}
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;
    ~Renderer();

    bool Load();
    QZMPal* Palette() const { return palette; }
    // The frame without text, then the lines of text over it.
    void Draw(const Game& game, QZMImage& frame) const;
    // The status line always; a title and a hint when given.
    std::vector<TextLine> Layout(const std::string& status, const char* title,
                                 const char* hint) const;
    void Write(const std::vector<TextLine>& lines, QZMImage& frame) const;

private:
    void DrawBricks(const Game& game, QZMImage& frame) const;
    void DrawLives(const Game& game, QZMImage& frame) const;
    TextLine Centred(int y, const char* utf8, unsigned colour, bool big) const;

    QZMResMgr& resources;
    QZMPal* palette = nullptr;
    QZMImage* bricks = nullptr;
    QZMImage* paddle = nullptr;
    QZMImage* ball = nullptr;
    QZMImage* coins = nullptr;
    QZMFont* big = nullptr;
    QZMFont* small = nullptr;
};
