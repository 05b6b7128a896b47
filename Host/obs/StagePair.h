#pragma once

#include <obs-module.h>

#include <cstdint>
#include <functional>

/// Brings what a source shows to the processor and a keyed picture back, without waiting for the GPU: a picture is read
/// one frame after it was drawn. All calls in the graphics thread.
class CStagePair
{
public:
    CStagePair() = default;
    ~CStagePair(); ///< enters the graphics context itself
    CStagePair(const CStagePair&) = delete;
    CStagePair& operator=(const CStagePair&) = delete;

    /// Pixels B, G, R, A, straight alpha, top row first; the callback writes all of _pOut.
    struct PICTURES
    {
        const uint8_t* pIn;
        uint8_t* pOut;
        uint32_t nInRowBytes;
        uint32_t nOutRowBytes;
        uint32_t nWidth;
        uint32_t nHeight;
    };

    /// Draws by _draw what is to be keyed in the next frame, and hands _key what was drawn in the frame before.
    /// False: there is nothing to show yet, or textures cannot be made.
    bool Exchange(uint32_t _nWidth, uint32_t _nHeight, const std::function<void()>& _draw,
                  const std::function<void(const PICTURES&)>& _key);
    /// Draws what was keyed last.
    void Draw() const;

private:
    bool Resize(uint32_t _nWidth, uint32_t _nHeight);
    bool Stage(const std::function<void()>& _draw);
    bool Read(const std::function<void(const PICTURES&)>& _key);
    void Free();

    gs_texrender_t* m_pRender = nullptr;
    gs_stagesurf_t* m_apStages[2] = {};
    gs_texture_t* m_pKeyed = nullptr;
    uint32_t m_nWidth = 0;
    uint32_t m_nHeight = 0;
    int m_nNext = 0;        ///< the stage that is drawn to next
    bool m_bStaged = false; ///< the other one holds a picture
    bool m_bKeyed = false;
};
