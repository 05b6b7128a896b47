#pragma once

#include "Kit/Process.h"
#include "zkhost/Files/VideoPlan.h"

#include <optional>

/// Any video that ffmpeg reads. It runs beside this program and writes the frames into a pipe, as they are coded where
/// a format here has them so: 4:2:0 and 4:2:2 of 8 or 10 bits. All else comes as RGB, of 16 bits where it has more
/// than 8. Turned clips come upright. Frames whose times are irregular are taken at a constant rate, and the log says
/// so.
class CZVideoReader : public CZFrameSource
{
public:
    /// Begins with the n-th frame, counted from 0.
    CZVideoReader(const std::string& _strPath, int64_t _nFirst);
    CZPtr<IZFFrame> Next() override;

private:
    void End();

    std::string m_strPath;
    int64_t m_nFrame; ///< of the next frame
    size_t m_cbFrame = 0;
    bool m_bSeeks = false;
    std::optional<CZChildProcess> m_optDecoder; ///< empty after the last frame
};
