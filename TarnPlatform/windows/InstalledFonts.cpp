#include "InstalledFonts.h"

#include <fontconfig/fontconfig.h>

#include <memory>

#include "TarnPlatform/base/Destroy.h"

namespace tarn {
namespace {

using Config = std::unique_ptr<FcConfig, Destroy<FcConfigDestroy>>;
using Characters = std::unique_ptr<FcCharSet, Destroy<FcCharSetDestroy>>;
using Pattern = std::unique_ptr<FcPattern, Destroy<FcPatternDestroy>>;
using Objects = std::unique_ptr<FcObjectSet, Destroy<FcObjectSetDestroy>>;
using Fonts = std::unique_ptr<FcFontSet, Destroy<FcFontSetDestroy>>;

bool hasFont(FcConfig* config, char32_t sample) {
    const Characters characters(FcCharSetCreate());
    FcCharSetAddChar(characters.get(), sample);
    const Pattern wanted(FcPatternCreate());
    FcPatternAddCharSet(wanted.get(), FC_CHARSET, characters.get());
    const Objects told(FcObjectSetBuild(FC_FAMILY, nullptr));
    const Fonts found(FcFontList(config, wanted.get(), told.get()));
    return found && found->nfont > 0;
}

}  // namespace

std::vector<FontScript> scriptsWithoutFont(const std::vector<FontScript>& scripts) {
    const Config config(FcInitLoadConfigAndFonts());
    std::vector<FontScript> missing;
    for (const auto& script : scripts) {
        if (!config || !hasFont(config.get(), script.sample)) {
            missing.push_back(script);
        }
    }
    return missing;
}

}  // namespace tarn
