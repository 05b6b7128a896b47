#include "zkhost/Files/PictureWriter.h"

#include "Kit/HostError.h"
#include "zkhost/Files/NamePattern.h"
#include "zkhost/Files/PictureFile.h"
#include "zkhost/Files/RawWriter.h"
#include "zkhost/Files/UsageError.h"
#include "zkhost/Files/VideoWriter.h"
#include "zkhost/Files/Y4mWriter.h"

#include "Base/ZLog.h"

namespace
{

class CZPngWriter : public CZPictureWriter
{
public:
    CZPngWriter(const std::string& _strPath, int64_t _nFirst, CZOutFiles& _files)
        : m_strPath(_strPath)
        , m_bSequence(NamePattern_IsPattern(_strPath))
        , m_files(_files)
        , m_nFirst(_nFirst)
    {
        if (m_bSequence)
            m_files.Check(m_strPath);
        else
            m_pFile = &m_files.Create(m_strPath);
    }

    void Write(const PICTURE& _picture) override
    {
        WriteNext(_picture);
    }
    void Write(const DEEP_PICTURE& _picture) override
    {
        WriteNext(_picture);
    }

private:
    template <class Picture> void WriteNext(const Picture& _picture)
    {
        if (m_nWritten > 0 && !m_bSequence)
            throw CZHostError(
                ZFormat("%s takes one picture, and there are more; name a sequence, as name_%%05d.png, or "
                        "use --frames 1",
                        m_strPath));
        if (m_bSequence)
            m_pFile = &m_files.Create(NamePattern_Name(m_strPath, m_nFirst + m_nWritten));
        PictureFile_WritePng(_picture, *m_pFile);
        m_pFile->Close(); // a long sequence must not keep all its files open
        ++m_nWritten;
    }

    std::string m_strPath;
    bool m_bSequence;
    CZOutFiles& m_files;
    CZOutFile* m_pFile = nullptr; // belongs to m_files
    int64_t m_nFirst;             ///< number of the first picture of a sequence
    int64_t m_nWritten = 0;
};

} // namespace

std::unique_ptr<CZPictureWriter> PictureWriter_Open(const std::string& _strPath, const STREAM& _stream,
                                                    uint32_t _fccOpaque, CZOutFiles& _files,
                                                    const OUTPUT_WISHES& _wishes)
{
    const std::string strType = NamePattern_Extension(_strPath);
    if (strType == "png")
        return std::make_unique<CZPngWriter>(_strPath, _wishes.nFirst, _files);
    if (strType == "raw" || (_strPath == "-" && _fccOpaque == eZFCC_ARGB64))
        return std::make_unique<CZRawWriter>(_strPath, _stream, _fccOpaque, _files);
    if (strType == "y4m" || _strPath == "-")
        return std::make_unique<CZY4mWriter>(_strPath, _stream, _fccOpaque, _files);
    if (VideoOutput_IsOne(_strPath))
        return std::make_unique<CZVideoWriter>(_strPath, _stream, _fccOpaque == eZFCC_ARGB64, _wishes, _files);
    throw CZUsageError(
        ZFormat("%s: unknown kind of output, or one without alpha; use %s, *.png, name_%%05d.png, *.y4m, "
                "*.raw, - for Y4M on standard output, or *.mp4 for what is opaque",
                _strPath, VideoOutput_AlphaNames()));
}
