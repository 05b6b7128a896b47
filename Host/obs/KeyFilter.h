#pragma once

#include "Shell/ShellModule.h"
#include "obs/StagePair.h"

#include <obs-module.h>

#include <atomic>
#include <mutex>
#include <string>

/// What the buttons of the panel ask for; done with the next picture, in the graphics thread.
enum eObsAsk
{
    eOA_Nothing,
    eOA_Find, ///< the backdrop
    eOA_Key,  ///< the colour at the place of the panel
    eOA_Protect,
    eOA_Undo,
    eOA_Redo,
    eOA_Reset
};

/// The keyer as a filter of one source. Where the module is missing, pictures pass as they are.
class CKeyFilter
{
public:
    CKeyFilter(obs_source_t* _pFilter, obs_data_t* _pSettings);
    ~CKeyFilter();
    CKeyFilter(const CKeyFilter&) = delete;
    CKeyFilter& operator=(const CKeyFilter&) = delete;

    /// Takes settings over. Any thread.
    void Update(obs_data_t* _pSettings);
    /// Any thread; of two calls before the next picture the last one counts.
    void Ask(eObsAsk _eAsk);
    /// Graphics thread.
    void Render();

private:
    void LoadDocument(const char* _pszDocument, const char* _pszFrom);
    void LoadFile(const std::string& _strFile, obs_data_t* _pSettings);
    void ParamsToKeyer(obs_data_t* _pSettings);
    void KeysToSettings(obs_data_t* _pSettings);
    void Answer(const zck_frame& _frame);
    int AnswerOne(const zck_frame& _frame, eObsAsk _eAsk);
    void FindFirst(const zck_frame& _frame);
    void Key(const CStagePair::PICTURES& _pictures);
    void Say(int _nLevel, const char* _pszText);

    obs_source_t* m_pFilter;
    const SHELL_API* m_pApi = nullptr;
    zck_keyer* m_pKeyer = nullptr;
    std::atomic<eObsAsk> m_eAsk = eOA_Nothing;
    std::atomic<bool> m_bFind = false; ///< a backdrop is still to be found
    std::atomic<double> m_dblX = 50;   ///< of a pick, per cent
    std::atomic<double> m_dblY = 10;

    std::mutex m_mtxUpdate;
    std::string m_strFrom; ///< guarded by m_mtxUpdate, as is the file
    std::string m_strFile;

    // The graphics thread's
    CStagePair m_stages;
    std::string m_strSaid; ///< the last trouble, which is said once
    int m_nUntilFind = 0;  ///< pictures
};

/// The panel of a filter, and what its settings are before they are set.
obs_properties_t* FilterPanel_Make(CKeyFilter* _pFilter);
void FilterPanel_Defaults(obs_data_t* _pSettings);
