#pragma once

#include "Base/ZPtr.h"
#include "Base/ZTimedLock.h"
#include "Interfaces/IZChromaKey.h"
#include "Interfaces/IZChromaKey2.h"
#include "Interfaces/IZFProcess.h"
#include "Interfaces/IZKeys.h"
#include "Interfaces/IZPlugin.h"
#include "Interfaces/IZProps.h"
#include "Interfaces/IZSteps.h"
#include "Interfaces/IZTables.h"
#include "ZChromaKey/Flat/FlatFrame.h"

#include <mutex>
#include <string>

/// A plug-in object as the flat interface drives it. The methods are the bodies of the functions of the same name, and
/// answer result codes; S_FALSE is ZCK_NOTHING. Thread safe.
class CFlatKeyer
{
public:
    /// Makes the object of a generation. E_INVALIDARG: there is no such generation.
    HRESULT Open(int _nGeneration);
    void Close();

    HRESULT OptionSet(const char* _pszName, const char* _pszValue);
    HRESULT ParamSet(const char* _pszName, double _dblValue);
    HRESULT ParamGet(const char* _pszName, double* _pdblValue);
    /// The row of a parameter; S_FALSE: there is none with that number.
    HRESULT ParamRow(UINT _nRow, ZTABLE_ROW* _pRow);

    HRESULT KeyAuto(const zck_frame* _pFrame);
    HRESULT KeyPoint(const zck_frame* _pFrame, int _nX, int _nY, int _eUse);
    HRESULT KeyRect(const zck_frame* _pFrame, int _nX1, int _nY1, int _nX2, int _nY2, int _eUse);
    HRESULT KeyColor(uint32_t _nRGB, int _eUse);
    HRESULT Reset();
    HRESULT Step(int _nSteps, int* _pnDoneOrNull);
    HRESULT Load(const char* _pszDocument);
    HRESULT Save(std::string* _pstrDocument);

    HRESULT Process(const zck_frame* _pIn, const zck_frame* _pOutOrNull, const zck_frame* _pMaskOrNull);
    HRESULT Flush();

    /// Remembers why a call did not answer S_OK. _strText: what the log has of it; "": nothing.
    void ErrorSet(HRESULT _hr, const std::string& _strText);
    std::string ErrorGet();

private:
    bool IsFirst() const
    {
        return static_cast<bool>(m_cpKey1);
    }
    HRESULT PropSet(const char* _pszName, const char* _pszValue);
    eZTable ParamTable() const
    {
        return IsFirst() ? eZTable_Adjusts : eZTable_Params;
    }
    HRESULT AdjustFind(const char* _pszName, eCK_Adjust* _peAdjust);
    template <class Change> HRESULT Edit(Change&& _change);
    template <class Change> HRESULT EditBetween(Change&& _change);
    template <class Change> HRESULT WithFrame(const zck_frame* _pFrame, Change&& _change);
    template <class Add> HRESULT Sample(const zck_frame* _pFrame, int _eUse, Add&& _add);
    template <class Add> HRESULT Only(Add&& _add);
    HRESULT RectProtectFirst(int _nX1, int _nY1, int _nX2, int _nY2);
    HRESULT CleanColors();
    HRESULT KeysDrop();
    bool IsOnlyColor(uint32_t _nRGB);
    HRESULT FrameSet(IZFFrame* _pFrameOrNull);
    HRESULT DepthSet(uint32_t _fccOut);
    HRESULT ColorsSet(const FLAT_PICTURE& _picture);
    HRESULT ResultWrite(IZFFrame* _pResult, const FLAT_PICTURE* _pOutOrNull, const FLAT_PICTURE* _pMaskOrNull);

    CZPtr<IZFProcess> m_cpProcess;
    CZPtr<IZChromaKey> m_cpKey1;  ///< of the first generation, or
    CZPtr<IZChromaKey2> m_cpKey2; ///< of the second
    CZPtr<IZKeys> m_cpKeys;
    CZPtr<IZSteps> m_cpSteps;
    CZPtr<IZProps> m_cpProps;
    CZPtr<IZTables> m_cpTables;

    CZTimedLock m_lockEdit;  ///< one edit at a time; before the next one
    CZTimedLock m_lockFrame; ///< one frame at a time; of edits, those that frames are not to see half done
    CZPtr<CZFramePool> m_cpPool;
    CZPtr<CFlatFrame> m_cpFrame;            ///< around the input; under m_lockFrame
    int m_nDepth = 0;                       ///< bits of a channel of results, 0: not set; under m_lockFrame
    int32_t m_eMatrix = ZCK_MATRIX_DEFAULT; ///< as the object has it; this and the next under m_lockFrame
    int32_t m_eRange = ZCK_RANGE_DEFAULT;

    std::mutex m_mtxError; ///< guards what follows
    HRESULT m_hrError = S_OK;
    std::string m_strError;
};

/// What the interface calls an opaque type.
struct zck_keyer : CFlatKeyer
{
};
