#pragma once

#include "zkhost/Keyer.h"

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
    /// Adds --keys, --auto, --pick and so on.
    void AddKeys(CLI::App& _command);

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

    /// Sets the log level; call before anything else.
    void ApplyLog() const;
    /// Sets the options of the object. "detect." ones are kept for Detect.
    void ApplyOptions(CZKeyer& _keyer) const;
    /// Finds the backdrop of the frame set for keying; throws when there is none.
    void Detect(CZKeyer& _keyer) const;
    /// Makes the key set as the command line says, from the first frame. The options come after those of a key file.
    void ApplyKeys(CZKeyer& _keyer, IZFFrame* _pFirstFrame) const;
    /// Saves what was used, when asked to; at the end of a job that succeeded.
    void SaveKeys(CZKeyer& _keyer) const;

private:
    /// One pick, rectangle or exclusion.
    struct EDIT
    {
        std::string strName;
        std::string strPlace;
        std::vector<int32_t> vecPlace;
    };
    void CheckKeysGiven() const;
    void ApplyType(CZKeyer& _keyer) const;
    std::vector<EDIT> Edits(IZFFrame* _pFirstFrame) const;
    static void ApplyEdit(CZKeyer& _keyer, const EDIT& _edit);
    std::vector<std::pair<eCK_Adjust, double>> Adjusts() const;

    CLI::App* m_pCommand = nullptr;
    std::string m_strInput;
    std::string m_strRawSpec;
    std::vector<std::string> m_vecSets;
    bool m_bQuiet = false;
    bool m_bVerbose = false;

    std::string m_strKeys;
    std::string m_strSaveKeys;
    std::string m_strType;
    bool m_bAuto = false;
    std::vector<std::string> m_vecAdjusts;
    std::vector<std::string> m_vecPicks;
    std::vector<std::string> m_vecExcludes;
    std::vector<std::string> m_vecRects;
};
