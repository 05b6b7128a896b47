#include "zkhost/Ui/Clip.h"

#include "Base/ZPlanes.h"

#include <algorithm>
#include <utility>

CZClip::CZClip(std::string _strInput, std::string _strRawSpec, int64_t _cbMost)
    : m_strInput(std::move(_strInput))
    , m_strRawSpec(std::move(_strRawSpec))
    , m_cbMost(_cbMost)
    , m_upSource(Stream_Open(m_strInput, m_strRawSpec))
{
    m_stream = m_upSource->Stream();
    m_nFrames = m_stream.nFrames;
}

int64_t CZClip::Frames()
{
    const std::lock_guard lock(m_mtxClip);
    return m_nFrames;
}

CZPtr<IZFFrame> CZClip::Find(int64_t _nFrame)
{
    const auto it = std::ranges::find(m_listKept, _nFrame, &KEPT::nFrame);
    if (it == m_listKept.end())
        return {};
    m_listKept.splice(m_listKept.begin(), m_listKept, it);
    return m_listKept.front().cpFrame;
}

void CZClip::Keep(int64_t _nFrame, const CZPtr<IZFFrame>& _cpFrame)
{
    ZF_VID_PROPS vidProps = {};
    _cpFrame->VideoPropsGet(&vidProps);
    m_listKept.push_front({_nFrame, VidProps_ImageSize(&vidProps), _cpFrame});
    m_cbKept += m_listKept.front().cbFrame;
    while (m_cbKept > m_cbMost && m_listKept.size() > 1)
    {
        m_cbKept -= m_listKept.back().cbFrame;
        m_listKept.pop_back();
    }
}

CZPtr<IZFFrame> CZClip::Frame(int64_t _nFrame)
{
    const std::lock_guard lock(m_mtxClip);
    if (_nFrame < 0 || (m_nFrames >= 0 && _nFrame >= m_nFrames))
        return {};
    if (CZPtr<IZFFrame> cpFrame = Find(_nFrame))
        return cpFrame;
    if (_nFrame < m_nNext)
    {
        m_upSource = Stream_Open(m_strInput, m_strRawSpec);
        m_nNext = 0;
    }
    CZPtr<IZFFrame> cpFrame;
    while (m_nNext <= _nFrame)
    {
        cpFrame = m_upSource->Next();
        if (!cpFrame)
        {
            m_nFrames = m_nNext;
            return {};
        }
        Keep(m_nNext++, cpFrame);
    }
    return cpFrame;
}
