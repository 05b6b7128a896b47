#pragma once

#include <obs-module.h>

#include <cstdint>
#include <string>
#include <vector>

/// OBS without its window: its library starts, loads the filter and draws sources that filters hang on.

/// Pixels B, G, R, A, top row first.
struct OBS_PICTURE
{
    uint32_t nWidth = 0;
    uint32_t nHeight = 0;
    std::vector<uint8_t> vecBGRA;
};

/// A green backdrop, darker to the right, with a brown body whose edge is soft.
OBS_PICTURE ObsHost_Scene(uint32_t _nWidth, uint32_t _nHeight);

/// Starts the library and loads the filter; what both log is kept. False: there is no display, or no OpenGL.
bool ObsHost_Start(const char* _pszFilter);
/// Ends it. How many of its allocations are left.
long ObsHost_End();
/// Lines that the filter has logged since the last call.
std::string ObsHost_TakeLog();

/// A source that shows a picture, with the filter on it.
class CObsKeyed
{
public:
    explicit CObsKeyed(OBS_PICTURE _picture, obs_data_t* _pSettings = nullptr);
    ~CObsKeyed();
    CObsKeyed(const CObsKeyed&) = delete;
    CObsKeyed& operator=(const CObsKeyed&) = delete;

    void Show(OBS_PICTURE _picture);
    /// What the source looks like after that many frames.
    OBS_PICTURE Drawn(int _nFrames = 3);
    void Click(const char* _pszButton);
    std::string Setting(const char* _pszName) const;
    obs_source_t* Filter() const
    {
        return m_pFilter;
    }

private:
    OBS_PICTURE m_picture;
    obs_source_t* m_pSource;
    obs_source_t* m_pFilter;
};
