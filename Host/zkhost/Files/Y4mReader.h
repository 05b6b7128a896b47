#pragma once

#include "zkhost/Files/InFile.h"
#include "zkhost/Files/Y4mHeader.h"

/// A Y4M file or pipe.
///
/// 4:2:0 and 4:2:2 of even size become I420 and I422 frames, sample by sample. All other layouts and odd sizes become
/// RGB32 (444alpha: ARGB32), because no YUV record keeps all their samples. Full-range streams are brought to studio
/// range, which is what the YUV formats mean.
class CZY4mReader : public CZFrameSource
{
public:
    explicit CZY4mReader(const std::string& _strPath);
    CZPtr<IZFFrame> Next() override;

private:
    bool IsNative() const;
    void InitStream();
    bool ReadFrameLine();
    void ReadSamples();
    void CopyPlanes(IZFFrame* _pFrame) const;

    CZInFile m_file;
    Y4M_HEADER m_header;
    std::vector<uint8_t> m_vecSamples; // one frame as it is in the file
    int64_t m_nFrame = 0;              // frames begun so far
    size_t m_cbHeader = 0;
};
