#pragma once

#include "zkhost/Files/Stream.h"

#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>

/// The frames of an input, in any order: decoded frames are kept as far as memory allows, and the input is opened again
/// to go back further than that. Thread safe. Errors are CZHostError.
class CZClip
{
public:
    /// _cbMost: bytes of decoded frames that are kept, besides the one that was asked for last.
    CZClip(std::string _strInput, std::string _strRawSpec, int64_t _cbMost);

    /// What the input says about its frames.
    const STREAM& Stream() const
    {
        return m_stream;
    }
    const std::string& Input() const
    {
        return m_strInput;
    }
    const std::string& RawSpec() const
    {
        return m_strRawSpec;
    }
    /// How many frames there are; -1 while nobody has seen the last one of an input that does not say.
    int64_t Frames();
    /// A frame, counted from 0; null: the clip ends before it.
    CZPtr<IZFFrame> Frame(int64_t _nFrame);

private:
    /// A decoded frame.
    struct KEPT
    {
        int64_t nFrame;
        int64_t cbFrame;
        CZPtr<IZFFrame> cpFrame;
    };

    CZPtr<IZFFrame> Find(int64_t _nFrame);
    void Keep(int64_t _nFrame, const CZPtr<IZFFrame>& _cpFrame);

    std::string m_strInput;
    std::string m_strRawSpec;
    int64_t m_cbMost;
    STREAM m_stream;

    std::mutex m_mtxClip;
    std::unique_ptr<CZFrameSource> m_upSource;
    int64_t m_nNext = 0; ///< the number of the frame that the source gives next
    int64_t m_nFrames = -1;
    std::list<KEPT> m_listKept; ///< the one that was asked for last in front
    int64_t m_cbKept = 0;
};
