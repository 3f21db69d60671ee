#include <qzm/gfx/Input.h>

#include <SDL.h>

#include <gtest/gtest.h>

#include <cstring>

namespace {

uint32_t Bit(unsigned type) { return uint32_t(1) << type; }

void Push(Uint8 type, SDLKey sym = SDLK_UNKNOWN) {
    SDL_Event e;
    memset(&e, 0, sizeof e);
    e.type = type;
    e.key.keysym.sym = sym;
    ASSERT_EQ(SDL_PushEvent(&e), 0);
}

} // namespace

TEST(InputTest, MaskRecordsEveryTypeTouchedWhileSDLFollowsTheLastCall) {
    QZMInput* input = QZMInput::Singleton();
    EXPECT_EQ(QZMInput::Singleton(), input);
    input->AddEventType(SDL_KEYDOWN);
    input->AddEventType(SDL_MOUSEMOTION);
    input->RemoveEventType(SDL_MOUSEMOTION);
    input->RemoveEventType(200); // beyond SDL's table: the mask alone (bit 200 & 31)
    EXPECT_EQ(input->mask, Bit(SDL_KEYDOWN) | Bit(SDL_MOUSEMOTION) | Bit(200 & 31));
    EXPECT_EQ(SDL_EventState(SDL_KEYDOWN, SDL_QUERY), SDL_ENABLE);
    EXPECT_EQ(SDL_EventState(SDL_MOUSEMOTION, SDL_QUERY), SDL_IGNORE);

    // Only types 1 to 27 are ever enabled from the mask.
    const uint32_t types = Bit(SDL_KEYUP) | Bit(SDL_QUIT) | Bit(31);
    input->SetEventTypes(types);
    EXPECT_EQ(input->mask, types);
    for (Uint8 t = 0; t < SDL_NUMEVENTS; ++t)
        EXPECT_EQ(SDL_EventState(t, SDL_QUERY), t == SDL_KEYUP || t == SDL_QUIT ? SDL_ENABLE : SDL_IGNORE)
            << int(t);
    delete input;
    EXPECT_EQ(QZMInput::m_instance, nullptr);
}

TEST(InputTest, WaitNextEventDiscardsOtherTypesAndFlushEmptiesTheQueue) {
    QZMInput* input = QZMInput::Singleton();
    Push(SDL_KEYUP);
    Push(SDL_KEYDOWN, SDLK_a);
    Push(SDL_USEREVENT);
    Push(SDL_KEYDOWN, SDLK_b);
    QZMEvent ev;
    ASSERT_TRUE(input->WaitNextEvent(SDL_KEYDOWN, &ev));
    SDL_Event copy;
    memset(&copy, 0, sizeof copy);
    memcpy(&copy, &ev, sizeof ev);
    EXPECT_EQ(copy.type, SDL_KEYDOWN);
    EXPECT_EQ(copy.key.keysym.sym, SDLK_a);
    EXPECT_TRUE(input->WaitNextEvent(SDL_USEREVENT, nullptr));
    input->Flush();
    EXPECT_EQ(SDL_PollEvent(&copy), 0);

    SDL_QuitSubSystem(SDL_INIT_VIDEO); // no event queue left to wait on
    EXPECT_FALSE(input->WaitNextEvent(SDL_KEYDOWN, &ev));
    delete input;
}
