#pragma once

#include "Shell/ShellModule.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// A keyer as shells hold it whose hosts hand over all settings again and again: what is set is compared with what the
/// keyer has, and only differences reach it.

/// The parameters of the second generation, as the module that was found at the first call describes them. Empty where
/// there was none. From any thread.
const std::vector<zck_param>& ShellParams_Get();

/// A keyer of the second generation with its settings. One thread at a time; objects know nothing of each other.
///
/// Keys: those of the document, and the colour. Where there is neither, and AutoSet has not switched that off, the
/// backdrop is searched for until it is found.
class CShellKeyer
{
public:
    /// What a person has to know, as a line without an end: why nothing is keyed, for example. _bLogged: the module has
    /// put it on its log as well, which is standard error unless somebody takes it. The same line is not said twice in
    /// a row.
    using SAY = std::function<void(const std::string& _strLine, bool _bLogged)>;
    explicit CShellKeyer(SAY _fnSay);
    ~CShellKeyer();
    CShellKeyer(const CShellKeyer&) = delete;
    CShellKeyer& operator=(const CShellKeyer&) = delete;

    /// A document of keys (it begins with "<"), or the path of a file that holds one, in UTF-8; "": none.
    void KeysSet(std::string_view _svKeys);
    const std::string& KeysGet() const;
    /// One more backdrop colour, 0xRRGGBB. Black, which cannot be keyed: none.
    void ColorSet(uint32_t _nRgb);
    /// A colour that stays solid, 0xRRGGBB. Black: none.
    void ProtectSet(uint32_t _nRgb);
    /// On unless switched off.
    void AutoSet(bool _bAuto);
    /// Keys each picture by itself, as if it were the only one; off unless switched on. Its result then does not depend
    /// on the order in which a host asks for pictures.
    void StillsSet(bool _bStills);
    bool StillsGet() const;
    /// A parameter by its number in ShellParams_Get; cut to its range. At its default it is what the document says.
    void ParamSet(size_t _nParam, double _dblValue);
    double ParamGet(size_t _nParam) const;

    /// The time of the next frame. Where it is further than _dblReach from that of the frame before, another shot
    /// begins.
    void TimeSet(double _dblTime, double _dblReach);
    /// Keys a frame with all of this. False: it could not, the reason was said, and the pixels of _out are undefined.
    /// No exception.
    bool Process(const zck_frame& _in, const zck_frame& _out);

private:
    struct PARAM
    {
        double dblWanted;
        double dblLoaded; ///< after the document was loaded
        bool bChanged;
    };

    template <class T> void Take(T& _value, const T& _wanted);
    bool Good(int _nResult);
    void Say(const std::string& _strLine, bool _bLogged);
    void SayLast();
    bool Apply();
    bool ApplyKeys();
    bool ApplyDocument();
    bool ApplyParams();
    bool Begin(const zck_frame& _in);

    SAY m_fnSay;
    std::string m_strSaid;
    const SHELL_API* m_pApi = nullptr;
    zck_keyer* m_pKeyer = nullptr;
    std::string m_strKeys;
    uint32_t m_nColor = 0;
    uint32_t m_nProtect = 0;
    bool m_bAuto = true;
    bool m_bStills = false;
    std::vector<PARAM> m_vecParams;
    double m_dblTime = 0;
    bool m_bFirst = true;       ///< no time yet
    bool m_bKeysChanged = true; ///< since they were last applied
    bool m_bUsable = false;     ///< they could be
    int m_nUntilSearch = 0;     ///< pictures
    bool m_bSearch = false;     ///< for the backdrop, until it is found
};
