// The data readers that take a file name: a score table, a configuration file and a language
// file, each from the same bytes.
#include <qzm/data/ConfigMgr.h>
#include <qzm/data/Score.h>
#include <qzm/data/Translator.h>

#include "fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qzmfuzz::Quiet();
    std::string path = qzmfuzz::ScratchFile(data, size);

    QZMScore score(10, QZMScore::SCORE_HIGH_FIRST, 0);
    score.Load(path.c_str());

    QZMConfigMgr config;
    QZMConfigMgr::CfgValue number = {};
    config.AddParameter("width", QZMConfigMgr::CFG_INT, number);
    config.AddParameter("name", QZMConfigMgr::CFG_STRING, number);
    config.AddParameter("colour", QZMConfigMgr::CFG_COLOR, number);
    config.AddParameter("when", QZMConfigMgr::CFG_DATE, number);
    config.ParseFile(path.c_str());

    QZMTranslator* translator = QZMTranslator::Singleton();
    delete[] translator->CheckLang(path.c_str());
    if (translator->Load(path.c_str(), 0)) {
        for (unsigned n = 0; n < 40; n++) translator->GetString(n);
    }
    delete translator;
    return 0;
}
