#pragma once

#include "Kit/Keyer.h"
#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/Stream.h"

#include <CLI/CLI.hpp>

#include <string>
#include <utility>
#include <vector>

/// What is common to the commands that key: input, generation, key set, options, and how they talk. What one generation
/// alone has is in KeyOptions1.cpp and KeyOptions2.cpp.
class CZKeyOptions
{
public:
    /// Adds the positional input, --in, --set and the general switches.
    void AddInput(CLI::App& _command);
    /// Adds --keyer alone, for a command that makes its keys by detection.
    void AddKeyer(CLI::App& _command);
    /// Adds --keyer, --keys, --auto, --pick and so on.
    void AddKeys(CLI::App& _command);

    /// Adds --bits, for a command that writes what it has keyed.
    void AddBits(CLI::App& _command);
    /// Results are to have 16 bits where pictures of this stream have more than 8, unless --bits says something.
    void SuggestDeep(const STREAM& _stream);
    /// Results are to be laid over something: their alpha is straight, whatever the options say.
    void NeedStraight()
    {
        m_bStraight = true;
    }

    /// Keys and options out of a document, instead of a file.
    void UseDocument(std::string _strDocument)
    {
        m_strDocument = std::move(_strDocument);
    }

    const std::string& Input() const
    {
        return m_strInput;
    }
    const std::string& RawSpec() const
    {
        return m_strRawSpec;
    }
    /// Whether results are to have 16 bits a channel.
    bool IsDeep() const
    {
        return m_nBits == 16;
    }
    bool IsQuiet() const
    {
        return m_bQuiet;
    }

    /// Sets the log level, decides for a generation, and checks all that can be checked without a frame; call before
    /// anything else.
    void Begin();
    /// The same without the log, which is somebody else's.
    void BeginQuietly();
    /// The class of the object to key with.
    const CLSID& ClassId() const;
    /// Sets the options of the object; those of detection are kept for Detect.
    void ApplyOptions(CZKeyer& _keyer) const;
    /// Sets the frame to make keys on; null takes it back.
    static void FrameSet(CZKeyer& _keyer, IZFFrame* _pFrameOrNull);
    /// Finds the backdrop of that frame; throws when there is none.
    void Detect(CZKeyer& _keyer) const;
    /// Makes the key set as the command line says, from the first frame, and sets the object up for results with alpha.
    /// Where it does not say what to key, the backdrop is searched for. The options come after those of a key file.
    void ApplyKeys(CZKeyer& _keyer, const STREAM& _stream, IZFFrame* _pFirstFrame) const;
    /// The file that the keys are to be saved in at the end of the job, one of its outputs; null when there is none.
    CZOutFile* OpenKeys(CZOutFiles& _files) const;

private:
    /// One pick, rectangle or exclusion.
    struct EDIT
    {
        std::string strName;
        std::string strPlace;
        std::vector<int32_t> vecPlace;
    };
    /// An adjustment and its value.
    struct ADJUST
    {
        eCK_Adjust eAdjust;
        std::string strName;
        double dblValue;
    };
    /// A parameter and its value.
    struct PARAM
    {
        std::string strName;
        double dblValue;
    };

    bool GivesKeys() const;
    bool Detects() const;
    std::vector<EDIT> Edits(IZFFrame* _pFirstFrame) const;

    void AddKeys1(CLI::App& _command);
    static std::string Help1();
    /// An option that only the first generation has, as it was given; empty: there is none.
    std::string Only1() const;
    void Check1() const;
    void Detect1(CZKeyer& _keyer) const;
    void ApplyType(CZKeyer& _keyer) const;
    static void ApplyEdit1(CZKeyer& _keyer, const EDIT& _edit);
    std::vector<ADJUST> Adjusts() const;
    void ApplyKeys1(CZKeyer& _keyer, const std::vector<EDIT>& _vecEdits) const;

    void AddKeys2(CLI::App& _command);
    static std::string Help2();
    /// An option that only the second generation has, as it was given; empty: there is none.
    std::string Only2() const;
    std::vector<PARAM> Params() const;
    void Detect2(CZKeyer& _keyer) const;
    void ApplyPlate(CZKeyer& _keyer, IZFFrame* _pFirstFrame) const;
    static void ApplyRegion(CZKeyer& _keyer, const std::string& _strRegion);
    void ApplyKeys2(CZKeyer& _keyer, IZFFrame* _pFirstFrame, const std::vector<EDIT>& _vecEdits) const;

    CLI::App* m_pCommand = nullptr;
    std::string m_strInput;
    std::string m_strRawSpec;
    std::vector<std::string> m_vecSets;
    bool m_bQuiet = false;
    bool m_bVerbose = false;

    int m_nKeyer = 0; ///< 0 until Begin has decided
    std::string m_strKeys;
    std::string m_strDocument;
    std::string m_strSaveKeys;
    bool m_bAuto = false;
    std::vector<std::string> m_vecPicks;
    std::vector<std::string> m_vecExcludes;
    std::vector<std::string> m_vecRects;

    std::string m_strType;
    std::vector<std::string> m_vecAdjusts;

    int m_nBits = 0; ///< 0: nothing was said
    bool m_bStraight = false;
    std::vector<std::string> m_vecParams;
    std::string m_strView;
    std::vector<std::string> m_vecRegions;
    std::string m_strPlate;
};
