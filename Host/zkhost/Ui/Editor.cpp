#include "zkhost/Ui/Editor.h"

#include "Interfaces/ZOptionNames.h"
#include "Kit/Result.h"

CZEditor::CZEditor(int _nGeneration)
    : m_nGeneration(_nGeneration)
    , m_keyer(CZModule::Own(), _nGeneration == 1 ? CLSID_ZChromaKey : CLSID_ZChromaKey2)
{
    m_keyer.OptionNeed(c_szOptionARGB, "true");
    m_keyer.OptionNeed(c_szOptionPremultiplied, "false");
    m_keyer.OptionNeed(c_szOptionThread, "false"); // each result at once
}

void CZEditor::FrameSet(IZFFrame* _pFrame)
{
    Result_Check(m_keyer.Key2() ? m_keyer.Key2()->FrameSet(_pFrame) : m_keyer.Key()->KeyFrameSet(_pFrame, nullptr),
                 "handing over the frame to make keys on");
}

void CZEditor::FindBackdrop(IZFFrame* _pFrame)
{
    FrameSet(_pFrame);
    m_strHint = m_keyer.FindBackdrop() == S_OK
                    ? ""
                    : "no backdrop was found: no large, flat area of one strong hue reaches along the upper border of "
                      "the picture; take its colour with a click";
    FrameSet(nullptr);
}
