#pragma once

#include "Interfaces/ZPlatform.h"

/// Steps of editing, taken back and made again: of the plug-in objects of both generations alike. The first line of
/// each method is its help text in the type library. May be called from any thread.
///
/// Changes of one adjustment or parameter that follow each other within a second are one step: a slider that is
/// dragged.
struct IZSteps : public IUnknown
{
    /// Take back steps of editing; gets how many were taken.
    /// This and StepFwd: E_INVALIDARG: a negative number; E_UNEXPECTED: between GroupBegin and GroupEnd.
    virtual HRESULT STDMETHODCALLTYPE StepBack(int32_t _nSteps, int32_t* _pnDone) = 0;
    /// Make steps again that were taken back; gets how many were made.
    virtual HRESULT STDMETHODCALLTYPE StepFwd(int32_t _nSteps, int32_t* _pnDone) = 0;
    /// Get the number of steps that can be taken back.
    virtual HRESULT STDMETHODCALLTYPE StepsBack(int32_t* _pnSteps) = 0;
    /// Get the number of steps that can be made again.
    virtual HRESULT STDMETHODCALLTYPE StepsFwd(int32_t* _pnSteps) = 0;
    /// Begin a group: what happens until its GroupEnd is one step. Groups may lie in each other.
    virtual HRESULT STDMETHODCALLTYPE GroupBegin() = 0;
    /// End a group.
    /// E_UNEXPECTED: none was begun.
    virtual HRESULT STDMETHODCALLTYPE GroupEnd() = 0;
};
Z_INTERFACE_ID(IZSteps, 0xfcfe5edc, 0x559d, 0x4d88, 0x95, 0x72, 0xd4, 0xc0, 0xc0, 0xc3, 0xe7, 0x0d)
