#include "zkhost/Commands/KeyOptions.h"

#include "Interfaces/ZOptionNames.h"
#include "Kit/Result.h"
#include "zkhost/Commands/Commands.h"
#include "zkhost/Commands/KeyerChoice.h"
#include "zkhost/Commands/PluginOptions.h"
#include "zkhost/Files/RawReader.h"
#include "zkhost/Files/StandardError.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZLog.h"

#include <charconv>
#include <map>

namespace
{

/// "X,Y" or "X1,Y1,X2,Y2" inside a picture; the second corner may touch its end.
std::vector<int32_t> ReadPlace(const std::string& _strText, size_t _nNumbers, const ZF_VID_PROPS& _vidProps)
{
    std::vector<int32_t> vecNumbers(_nNumbers);
    const char* pPos = _strText.data();
    const char* const pEnd = pPos + _strText.size();
    bool bGood = true;
    for (size_t i = 0; bGood && i < _nNumbers; ++i)
    {
        const int32_t nLimit = i % 2 ? std::abs(_vidProps.nHeight) : _vidProps.nWidth;
        const auto res = std::from_chars(pPos, pEnd, vecNumbers[i]);
        const bool bLast = i + 1 == _nNumbers;
        bGood = res.ec == std::errc() && (bLast ? res.ptr == pEnd : res.ptr != pEnd && *res.ptr == ',') &&
                vecNumbers[i] >= 0 && (i < 2 ? vecNumbers[i] < nLimit : vecNumbers[i] <= nLimit);
        pPos = bGood && !bLast ? res.ptr + 1 : pEnd;
    }
    if (!bGood)
        throw CZUsageError(
            ZFormat("\"%s\" is no place in this picture; write %s, in pixels from the top left of %d x %d", _strText,
                    _nNumbers == 2 ? "X,Y" : "X1,Y1,X2,Y2", _vidProps.nWidth, std::abs(_vidProps.nHeight)));
    if (_nNumbers == 4 && (vecNumbers[0] == vecNumbers[2] || vecNumbers[1] == vecNumbers[3]))
        throw CZUsageError(ZFormat("\"%s\" is an empty rectangle; its second corner has to be another one", _strText));
    return vecNumbers;
}

} // namespace

void CZKeyOptions::AddInput(CLI::App& _command)
{
    m_pCommand = &_command;
    _command
        .add_option("input", m_strInput,
                    "Any video that ffmpeg reads, *.png, *.jpg, name_%05d.png, *.y4m, - (Y4M on standard input),\n"
                    "or *.raw with --in")
        ->type_name("FILE")
        ->required();
    _command
        .add_option("--in", m_strRawSpec,
                    "What headerless input holds: FCC:WxH[@RATE][i|iT|iB][:STRIDE]. FCC: what \"zkhost formats\" lists "
                    "as\nkeyed, or I444: planes Y, U, V of full width, which those of Y444 have not. Rows lie "
                    "top-down, as\n-o and \"zkhost sample\" write them; those of RGB bottom-up where the stride is "
                    "negative")
        ->type_name("SPEC");
    _command
        .add_option("--set", m_vecSets,
                    "An option of the plug-in; may be repeated. \"zkhost options\" lists and explains them. On\n"
                    "Windows, frames are keyed on the GPU where there is one, unless gpu_mode=0 is set: the\n"
                    "results of the CPU are the same on every machine")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    _command.add_flag("--quiet,-q", m_bQuiet, "Only errors on standard error");
    _command.add_flag("--verbose,-v", m_bVerbose, "The plug-in's log on standard error");
}

void CZKeyOptions::AddKeyer(CLI::App& _command)
{
    _command
        .add_option(
            "--keyer", m_nKeyer,
            "The generation. 2 takes pixels apart into backdrop and foreground, for hair, veils and motion blur,\n"
            "before a backdrop of any hue; 1 keys boxes of colours. Unless given, a key file decides, or an\n"
            "option that only one of them has; else 2")
        ->type_name("1|2")
        ->check(CLI::IsMember({1, 2}));
}

void CZKeyOptions::AddKeys(CLI::App& _command)
{
    constexpr const char* c_pszGroup = "Keys, made on the first frame";
    AddKeyer(_command);
    const auto fnMany = [&](const char* _pszName, std::vector<std::string>& _vecValues, const char* _pszHelp) {
        return _command.add_option(_pszName, _vecValues, _pszHelp)->allow_extra_args(false)->group(c_pszGroup);
    };
    _command.add_option("--keys", m_strKeys, "Keys and options from a file that was saved before")
        ->type_name("FILE.xml")
        ->check(Command_File())
        ->group(c_pszGroup);
    _command.add_flag("--auto", m_bAuto, "Find the backdrop; what happens when nothing else says what to key")
        ->group(c_pszGroup);
    fnMany("--pick", m_vecPicks, "Key the colour at X,Y; --pick, --rect and --protect may be repeated")
        ->type_name("X,Y");
    fnMany("--rect", m_vecRects, "Key the colours in a rectangle")->type_name("X1,Y1,X2,Y2");
    fnMany("--exclude,--protect", m_vecExcludes, "Keep the colour at X,Y")->type_name("X,Y");
    _command.add_option("--save-keys", m_strSaveKeys, "Save what was used to a file")
        ->type_name("FILE.xml")
        ->check(Command_File())
        ->group(c_pszGroup);
    AddKeys2(_command);
    AddKeys1(_command);
    _command.footer([] { return Help2() + "\n" + Help1(); }); // before the examples, and only when it is asked for
}

void CZKeyOptions::Begin()
{
    StandardError_LogSet(m_bVerbose ? eZLog_Verbose : m_bQuiet ? eZLog_Error : eZLog_Warning);
    BeginQuietly();
}

void CZKeyOptions::BeginQuietly()
{
    if (!m_strRawSpec.empty())
        Raw_ParseSpec(m_strRawSpec);
    for (const std::string& strSet : m_vecSets)
    {
        const auto [strName, strValue] = Command_Pair(strSet, "--set");
        PluginOptions_Check(strName, strValue);
    }
    m_nKeyer = KeyerChoice_Make({m_nKeyer, m_strKeys, Only1(), Only2()});
    if (m_nKeyer == 1)
        Check1();
    else
        Params();
}

const CLSID& CZKeyOptions::ClassId() const
{
    return m_nKeyer == 1 ? CLSID_ZChromaKey : CLSID_ZChromaKey2;
}

bool CZKeyOptions::GivesKeys() const
{
    return !m_strKeys.empty() || !m_strDocument.empty() || !m_vecPicks.empty() || !m_vecRects.empty();
}

bool CZKeyOptions::Detects() const
{
    return m_bAuto || !GivesKeys();
}

void CZKeyOptions::ApplyOptions(CZKeyer& _keyer) const
{
    for (const std::string& strSet : m_vecSets)
    {
        const auto [strName, strValue] = Command_Pair(strSet, "--set");
        if (!PluginOptions_IsDetection(strName))
            _keyer.OptionSet(strName, strValue);
    }
}

std::vector<CZKeyOptions::EDIT> CZKeyOptions::Edits(IZFFrame* _pFirstFrame) const
{
    ZF_VID_PROPS vidProps = {};
    Result_Check(_pFirstFrame->VideoPropsGet(&vidProps), "looking at the first frame");
    std::vector<EDIT> vecEdits;
    std::map<std::string, size_t> mapTaken;
    for (const CLI::Option* pOption : m_pCommand->parse_order()) // the order in which they were given
    {
        const std::string strName = pOption->get_single_name();
        if (strName != "pick" && strName != "rect" && strName != "exclude")
            continue;
        const std::string strPlace = pOption->results().at(mapTaken[strName]++);
        vecEdits.push_back({strName, strPlace, ReadPlace(strPlace, strName == "rect" ? 4 : 2, vidProps)});
    }
    return vecEdits;
}

void CZKeyOptions::FrameSet(CZKeyer& _keyer, IZFFrame* _pFrameOrNull)
{
    Result_Check(_keyer.Key2() ? _keyer.Key2()->FrameSet(_pFrameOrNull)
                               : _keyer.Key()->KeyFrameSet(_pFrameOrNull, nullptr),
                 "handing over the frame to make keys on");
}

void CZKeyOptions::Detect(CZKeyer& _keyer) const
{
    if (_keyer.Key2())
        Detect2(_keyer);
    else
        Detect1(_keyer);
}

void CZKeyOptions::ApplyKeys(CZKeyer& _keyer, const STREAM& _stream, IZFFrame* _pFirstFrame) const
{
    const auto vecEdits = Edits(_pFirstFrame); // mistakes in the command line come before anything else
    // The frame comes first: its matrix carries keys that are loaded into another type.
    FrameSet(_keyer, _pFirstFrame);
    if (!m_strKeys.empty())
        _keyer.LoadFile(m_strKeys);
    if (!m_strDocument.empty())
        _keyer.LoadDocument(m_strDocument);
    Stream_Tell(_stream, _keyer);
    _keyer.OptionNeed(c_szOptionARGB, "true"); // the alpha in the frame, and its colours cleaned
    if (IsDeep())
        _keyer.OptionNeed(c_szOptionDepth, "16");
    ApplyOptions(_keyer);
    if (m_bStraight)
        _keyer.OptionNeed(c_szOptionPremultiplied, "false");
    if (_keyer.Key2())
        ApplyKeys2(_keyer, _pFirstFrame, vecEdits);
    else
        ApplyKeys1(_keyer, vecEdits);
    FrameSet(_keyer, nullptr);
}

CZOutFile* CZKeyOptions::OpenKeys(CZOutFiles& _files) const
{
    return m_strSaveKeys.empty() ? nullptr : &_files.Create(m_strSaveKeys);
}
