#pragma once

#include "Kit/Keyer.h"
#include "zkhost/Files/OutFile.h"

#include <CLI/CLI.hpp>

#include <string>
#include <utility>
#include <vector>

/// What is common to the commands that key: input, key set, options, and how they talk.
class CZKeyOptions
{
public:
    /// Adds the positional input, --in, --set and the general switches.
    void AddInput(CLI::App& _command);
    /// Adds --keys, --auto, --pick and so on. _bOrAuto: when none of them is given, --auto counts as given.
    void AddKeys(CLI::App& _command, bool _bOrAuto);

    const std::string& Input() const
    {
        return m_strInput;
    }
    const std::string& RawSpec() const
    {
        return m_strRawSpec;
    }
    bool IsQuiet() const
    {
        return m_bQuiet;
    }

    /// Sets the log level, and checks all that can be checked without a frame; call before anything else.
    void Begin() const;
    /// The class of the object that --keyer asks for.
    const CLSID& ClassId() const;
    /// Sets the options of the object; those of detection are kept for Detect.
    void ApplyOptions(CZKeyer& _keyer) const;
    /// Finds the backdrop of the frame set for keying; throws when there is none.
    void Detect(CZKeyer& _keyer) const;
    /// Makes the key set as the command line says, from the first frame, and sets the object up for results with alpha.
    /// The options come after those of a key file.
    void ApplyKeys(CZKeyer& _keyer, IZFFrame* _pFirstFrame) const;
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
    enum eKeys
    {
        eKeys_None,   ///< the command makes them by detection alone
        eKeys_Needed, ///< the command line has to say what to key
        eKeys_OrAuto, ///< the backdrop is searched for unless it does
    };

    bool GivesKeys() const;
    bool Detects() const;
    void ApplyType(CZKeyer& _keyer) const;
    void ApplyKeys1(CZKeyer& _keyer, const std::vector<EDIT>& _vecEdits) const;
    void ApplyKeys2(CZKeyer& _keyer, const std::vector<EDIT>& _vecEdits) const;
    void ApplyParams(CZKeyer& _keyer) const;
    void CheckGeneration() const;
    std::vector<EDIT> Edits(IZFFrame* _pFirstFrame) const;
    static void ApplyEdit(CZKeyer& _keyer, const EDIT& _edit);
    std::vector<ADJUST> Adjusts() const;

    CLI::App* m_pCommand = nullptr;
    eKeys m_eKeys = eKeys_None;
    std::string m_strInput;
    std::string m_strRawSpec;
    std::vector<std::string> m_vecSets;
    bool m_bQuiet = false;
    bool m_bVerbose = false;

    std::string m_strKeys;
    std::string m_strSaveKeys;
    std::string m_strType;
    bool m_bAuto = false;
    int m_nKeyer = 1;
    std::vector<std::string> m_vecParams;
    std::vector<std::string> m_vecAdjusts;
    std::vector<std::string> m_vecPicks;
    std::vector<std::string> m_vecExcludes;
    std::vector<std::string> m_vecRects;
};
