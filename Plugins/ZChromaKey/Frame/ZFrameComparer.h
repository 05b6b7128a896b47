#pragma once

#include "Base/ZPtr.h"
#include "Interfaces/IZFFrame.h"
#include "ZChromaKey/Frame/FrameEngine.h"

#include <array>
#include <cstddef>
#include <string>
#include <vector>

/// Finds out whether a host hands in the same frame again. Has to see every frame that is keyed, for it compares each
/// with the one before. Not thread safe.
class ZFrameComparer
{
public:
    /// True when the frame has identity, video properties and "crop", "mirror" and "rotate" texts of the frame before.
    ///
    /// Identity and properties of the last frame are those it had when it was seen: a host may since have written new
    /// pixels into the same frame object.
    bool IsSameFrame(IZFFrame* _pFrame);

    /// The last frame; empty where there is none. Whoever keeps it decides when the host sees it go.
    CZPtr<IZFFrame2> FrameLast() const
    {
        return m_cpFrameLast;
    }

    /// Forgets the last frame: the next one counts as new.
    void Reset();

private:
    bool IsDuplicate(IZFFrame2* _pFrame, uint64_t _nIdentity, const ZF_VID_PROPS& _vidProps);
    bool TextsChanged(IZFFrame* _pFrame);

    bool m_bAsserted = false;
    CZPtr<IZFFrame2> m_cpFrameLast;
    uint64_t m_nIdentityLast = 0;
    ZF_VID_PROPS m_vidPropsLast = {};
    std::array<std::wstring, 3> m_arrTextsLast;
};

/// Hands out a clone of the last output when frame and settings are the same as the last ones, and remembers the
/// settings.
///
/// _pFrameLastOrNull: the last output, null where there is none to hand out again. S_OK: a clone in _ppFrameRes, which
/// the caller releases; S_FALSE: the frame has to be keyed; E_INVALIDARG: an argument is missing; else the failure of
/// cloning.
HRESULT ZFrameComparer_Check(ZFrameComparer* _pComparer, IZFFrame* _pFrame, IZFFrame** _ppFrameRes,
                             ENGINE_SETTINGS _settings, std::vector<std::byte>* _pvecSettingsLast,
                             IZFFrame* _pFrameLastOrNull);
