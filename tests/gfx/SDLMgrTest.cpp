#include <qzm/core/Log.h>
#include <qzm/gfx/Input.h>
#include <qzm/gfx/Timer.h>

#include <SDL.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

TEST(SDLMgrTest, ObjectsShareOneCountedSDL) {
    auto* timer = new QZMTimer(7);
    EXPECT_EQ(QZMSDLMgr::m_sdlstate, Uint32(SDL_INIT_TIMER)); // video came along unrecorded
    EXPECT_EQ(SDL_WasInit(SDL_INIT_EVERYTHING), Uint32(SDL_INIT_TIMER | SDL_INIT_VIDEO));
    struct sigaction quit;
    sigaction(SIGQUIT, nullptr, &quit);
    EXPECT_EQ(quit.sa_handler, SIG_DFL); // no parachute

    QZMInput* input = QZMInput::Singleton(); // asks for video again
    EXPECT_EQ(QZMSDLMgr::m_sdlstate, Uint32(SDL_INIT_TIMER | SDL_INIT_VIDEO));
    EXPECT_EQ(QZMSDLMgr::m_instances, 2u);
    delete timer;
    EXPECT_NE(SDL_WasInit(SDL_INIT_VIDEO), 0u);
    delete input;
    EXPECT_EQ(SDL_WasInit(0), 0u);
    EXPECT_EQ(QZMSDLMgr::m_sdlstate, 0u);
}

TEST(SDLMgrDeathTest, FatalPathsExitWithStatus1) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            QZM::SetLogTarget(1, nullptr);
            QZMTimer timer(0);
            QZMSDLMgr::m_instances = 0;
        },
        testing::ExitedWithCode(1), "Error :\nSDLMgr: instance == 0\n");
    EXPECT_EXIT(
        {
            QZM::SetLogTarget(1, nullptr);
            setenv("SDL_VIDEODRIVER", "nonexistent", 1);
            QZMTimer timer(0);
        },
        testing::ExitedWithCode(1), "Can't initialize SDL \\(.+\\)\n");
}

TEST(TimerTest, WaitAccReturnsATickAtOrPastTheDeadline) {
    QZMTimer timer(0);
    for (unsigned ms : {0u, 15u, 57u}) {
        Uint32 start = SDL_GetTicks();
        unsigned end = timer.WaitAcc(ms);
        EXPECT_GE(end, start + ms);
        EXPECT_LE(end, SDL_GetTicks());
    }
}
