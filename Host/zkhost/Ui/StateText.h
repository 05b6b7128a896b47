#pragma once

#include "zkhost/Ui/Clip.h"
#include "zkhost/Ui/Editor.h"
#include "zkhost/Ui/Render.h"

#include <optional>
#include <string>

/// What pages are told.
struct STATE_FACTS
{
    int64_t nRevision = 0;
    int64_t nKeysRevision = 0; ///< when the keys changed last
    std::string strVersion;
    std::string strClip; ///< its name
    const CZClip* pClip = nullptr;
    int64_t nIn = 0;
    int64_t nOut = -1; ///< -1: the last frame
    const CZEditor* pEditor = nullptr;
    char chSlot = 'A';
    bool bBackground = false; ///< a picture was sent
    std::string strCommand;
    std::optional<RENDER_STATE> optJob;
};

/// The same as JSON.
std::string StateText_Make(const STATE_FACTS& _facts);
