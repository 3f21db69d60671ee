#include "Game.h"

#include <qzm/core/Random.h>

#include <cstdlib>

namespace {

const int kBrickTop = 40;
const int kPaddleSpeed = 4;
const int kPointsTopRow = 50;

bool Overlap(const Box& a, const Box& b) {
    return a.x < b.x + b.w && b.x < a.x + a.w && a.y < b.y + b.h && b.y < a.y + a.h;
}

} // namespace

Game::Game(int startLives) : lives(startLives) { NewWall(); }

Box Game::BrickBox(int column, int row) {
    return {column * 32 + 1, kBrickTop + row * 12, 30, 10};
}

Box Game::PaddleBox() const { return {paddleX, kPaddleY, kPaddleWidth, kPaddleHeight}; }

Box Game::BallBox() const {
    if (held) return {paddleX + (kPaddleWidth - kBallSize) / 2, kPaddleY - kBallSize, kBallSize,
                      kBallSize};
    return {ballX / kOne, ballY / kOne, kBallSize, kBallSize};
}

void Game::NewWall() {
    for (auto& row : bricks)
        for (bool& brick : row) brick = true;
    bricksLeft = kRows * kColumns;
    held = true;
}

unsigned Game::Step(const Controls& controls) {
    if (Over()) return 0;
    MovePaddle(controls);
    if (held) {
        if (controls.launch) Launch();
        return 0;
    }
    return MoveBall();
}

void Game::MovePaddle(const Controls& controls) {
    paddleX += (controls.right - controls.left) * kPaddleSpeed;
    if (paddleX < 0) paddleX = 0;
    if (paddleX > kWidth - kPaddleWidth) paddleX = kWidth - kPaddleWidth;
}

// Each level is a little faster; the direction is left to chance.
void Game::Launch() {
    const Box ball = BallBox();
    ballX = ball.x * kOne;
    ballY = ball.y * kOne;
    speedX = (QZM::Randomi(2) ? 1 : -1) * (kOne + QZM::Randomi(unsigned(kOne)));
    speedY = -(3 * kOne + level * kOne / 2);
    held = false;
}

unsigned Game::MoveBall() {
    unsigned events = MoveAlong(ballX, speedX, true) | MoveAlong(ballY, speedY, false);
    events |= HitPaddle();
    if (ballY / kOne >= kHeight) {
        lives--;
        held = true;
        events |= lives ? EV_BALL_LOST : EV_BALL_LOST | EV_GAME_OVER;
    }
    if (bricksLeft == 0) {
        level++;
        NewWall();
        events |= EV_CLEARED;
    }
    return events;
}

// One axis at a time, so that a bounce reverses the axis that met the obstacle.
unsigned Game::MoveAlong(int& position, int& speed, bool horizontal) {
    position += speed;
    const int low = horizontal ? 0 : kTop * kOne;
    const int high = (kWidth - kBallSize) * kOne;
    unsigned events = 0;
    if (position < low || (horizontal && position > high)) {
        position = position < low ? 2 * low - position : 2 * high - position;
        speed = -speed;
        events |= EV_WALL;
    }
    if (HitBricks()) {
        position -= speed;
        speed = -speed;
        events |= EV_BRICK;
    }
    return events;
}

// Removes the first brick the ball touches; higher rows are worth more.
unsigned Game::HitBricks() {
    const Box ball = BallBox();
    for (int row = 0; row < kRows; row++)
        for (int column = 0; column < kColumns; column++)
            if (bricks[row][column] && Overlap(ball, BrickBox(column, row))) {
                bricks[row][column] = false;
                bricksLeft--;
                score += (kPointsTopRow - row * 10) * level;
                return EV_BRICK;
            }
    return 0;
}

// The ball leaves the paddle at an angle that grows towards the paddle's ends.
unsigned Game::HitPaddle() {
    if (speedY <= 0 || !Overlap(BallBox(), PaddleBox())) return 0;
    const int offset = BallCentreX() - (paddleX + kPaddleWidth / 2);
    speedX = offset * 3 * kOne / kPaddleWidth;
    if (std::abs(speedX) < kOne / 4) speedX = speedX < 0 ? -kOne / 4 : kOne / 4;
    speedY = -speedY;
    ballY = (kPaddleY - kBallSize) * kOne;
    return EV_PADDLE;
}
