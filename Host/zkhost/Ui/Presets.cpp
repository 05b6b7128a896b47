#include "zkhost/Ui/Presets.h"

#include <algorithm>

// What each parameter does, and when to move it, is in Docs/KeyingGuide.md and Docs/Options.md.

std::span<const PRESET> Presets_All()
{
    static const std::vector<PRESET> s_vecPresets = {
        {"default", "what most scenes need", {}},
        {"hair and fur",
         "fine hair is kept, and with it more of the grain in the backdrop",
         {{"noise", 1}, {"clean_backdrop", 1}, {"clean_foreground", 2}, {"solid", 40}}},
        {"glass and smoke",
         "what is seen through stays so: veils, glass, smoke, bubbles",
         {{"solid", 0}, {"clean_backdrop", 1}, {"clean_foreground", 1}, {"noise", 1.5}}},
        {"shadows kept", "shadows on the screen fall on the new background", {{"shadows", 70}}},
        {"noisy camera",
         "a grainy backdrop gets clean, fine hair fainter",
         {{"noise", 3.2}, {"clean_backdrop", 6}, {"clean_foreground", 6}}},
        {"hard edges",
         "boards, products and graphics: solid inside, a clean edge",
         {{"solid", 100}, {"clean_backdrop", 10}, {"clean_foreground", 12}, {"choke", 0.5}, {"noise", 3}}},
    };
    return s_vecPresets;
}

const PRESET* Presets_Find(std::string_view _svName)
{
    const std::span<const PRESET> arrPresets = Presets_All();
    const auto it =
        std::ranges::find(arrPresets, _svName, [](const PRESET& _preset) { return std::string_view(_preset.pszName); });
    return it == arrPresets.end() ? nullptr : &*it;
}

bool Presets_HasParam(std::string_view _svParam)
{
    constexpr std::string_view c_arrOthers[] = {"light", "learn", "view", "alpha"};
    return std::ranges::find(c_arrOthers, _svParam) == std::end(c_arrOthers);
}
