// Where the frames go: the 8-bit SDL screen, with palette fades, or an OpenGL window that
// shows the frame as a texture and draws the text with the OpenGL font.
#pragma once

#include "Render.h"

#include <memory>
#include <string>
#include <vector>

class Display {
public:
    virtual ~Display() = default;
    virtual bool Open() = 0;
    // The frame may receive the text lines.
    virtual void Show(QZMImage& frame, const std::vector<TextLine>& lines) = 0;
    virtual void FadeIn() {}
    virtual void FadeOut() {}
    // The next numbered screenshot; its file name, empty on failure.
    std::string Shot();

protected:
    virtual bool Screenshot(const char* prefix) = 0;
    virtual const char* ShotPrefix() const = 0;

private:
    unsigned shots = 0; // the session starts from an empty series
};

std::unique_ptr<Display> MakeDisplay(bool gl, Renderer& renderer, const QZMResFinder& finder);

// Removes the screenshots of an earlier session.
void RemoveShots(const char* prefix);
