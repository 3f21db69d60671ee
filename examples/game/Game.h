// The rules of the game: a breakout on a 320x240 field, advanced one fixed step at a time so
// that the same input gives the same game whatever the machine.
#pragma once

struct Controls {
    bool left = false;
    bool right = false;
    bool launch = false;
};

// What happened during a step, for the sounds.
enum GameEvent : unsigned {
    EV_WALL = 1,
    EV_PADDLE = 2,
    EV_BRICK = 4,
    EV_BALL_LOST = 8,
    EV_CLEARED = 16,
    EV_GAME_OVER = 32
};

struct Box {
    int x, y, w, h;
};

class Game {
public:
    static const int kWidth = 320;
    static const int kHeight = 240;
    static const int kTop = 16; // the score line above the field
    static const int kColumns = 10;
    static const int kRows = 5;
    static const int kPaddleWidth = 48;
    static const int kPaddleHeight = 8;
    static const int kPaddleY = 222;
    static const int kBallSize = 6;

    explicit Game(int lives);

    // One step of game time; returns the GameEvent bits of what happened.
    unsigned Step(const Controls& controls);

    bool Over() const { return lives == 0; }
    bool BallHeld() const { return held; }
    bool BrickAlive(int column, int row) const { return bricks[row][column]; }
    static Box BrickBox(int column, int row);
    Box PaddleBox() const;
    Box BallBox() const;
    int BallCentreX() const { return BallBox().x + kBallSize / 2; }

    int score = 0;
    int lives;
    int level = 1;

private:
    static const int kOne = 256; // positions and speeds in 1/256 pixel

    void NewWall();
    void MovePaddle(const Controls& controls);
    void Launch();
    unsigned MoveBall();
    unsigned MoveAlong(int& position, int& speed, bool horizontal);
    unsigned HitBricks();
    unsigned HitPaddle();

    bool bricks[kRows][kColumns];
    int bricksLeft = 0;
    int paddleX = (kWidth - kPaddleWidth) / 2;
    bool held = true;
    int ballX = 0, ballY = 0; // top left corner, 1/256 pixel
    int speedX = 0, speedY = 0;
};
