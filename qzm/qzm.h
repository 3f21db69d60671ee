#pragma once
// Everything a game needs from the library, in building order.

#include <qzm/core/Log.h>
#include <qzm/core/Math.h>
#include <qzm/core/Parse.h>
#include <qzm/core/Random.h>
#include <qzm/core/String.h>
#include <qzm/core/Version.h>

#include <qzm/io/File.h>
#include <qzm/io/FileUtils.h>
#include <qzm/io/MemFile.h>
#include <qzm/io/PackFile.h>
#include <qzm/io/ResFile.h>

#include <qzm/archive/ArchPAK.h>
#include <qzm/archive/ArchQZM.h>
#include <qzm/archive/Archive.h>
#include <qzm/archive/Dir.h>
#include <qzm/archive/FileProvider.h>

#include <qzm/resource/ResFinder.h>
#include <qzm/resource/ResMgr.h>
#include <qzm/resource/Resource.h>

#include <qzm/data/ConfigMgr.h>
#include <qzm/data/LangSource.h>
#include <qzm/data/Score.h>
#include <qzm/data/Text.h>
#include <qzm/data/Translator.h>

#include <qzm/gfx/Font.h>
#include <qzm/gfx/Image.h>
#include <qzm/gfx/Input.h>
#include <qzm/gfx/Pal.h>
#include <qzm/gfx/Point.h>
#include <qzm/gfx/RGBA.h>
#include <qzm/gfx/Rect.h>
#include <qzm/gfx/SDLMgr.h>
#include <qzm/gfx/Screen.h>
#include <qzm/gfx/Timer.h>
#include <qzm/gfx/Vec3.h>
#include <qzm/gfx/VideoMode.h>
#include <qzm/gfx/codec/Codecs.h>

#include <qzm/audio/Mixer.h>
#include <qzm/audio/Music.h>
#include <qzm/audio/Sound.h>

#include <qzm/gl/Font.h>
#include <qzm/gl/Screen.h>
#include <qzm/gl/TexMgr.h>
