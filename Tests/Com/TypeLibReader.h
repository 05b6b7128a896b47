#pragma once

#include "Support/Texts.h"

// A type library as plain values, for tests. What is not there fails the test.

struct TYPE_METHOD
{
    std::wstring wstrName;
    std::wstring wstrArgs; ///< their names, each after a blank
    size_t nSlot = 0;
    std::string strKinds; ///< of the arguments: p = pointer, i = four bytes, d = double
    std::string strRoles; ///< of the arguments: i = in, d = in, may be left out, o = out, r = what a script gets back
};

/// The name of a type in a library, or of a member in a type; of the library itself: -1.
template <class Info> std::wstring TypeLib_Name(Info* _pInfo, LONG _nItem)
{
    BSTR bsName = nullptr;
    _pInfo->GetDocumentation(_nItem, &bsName, nullptr, nullptr, nullptr);
    return TakeText(bsName);
}

class CTypeReader
{
public:
    explicit CTypeReader(CZPtr<ITypeInfo> _cpInfo)
        : m_cpInfo(std::move(_cpInfo))
    {
        TYPEATTR* pAttr = nullptr;
        if (m_cpInfo && m_cpInfo->GetTypeAttr(&pAttr) == S_OK)
            m_attr = *pAttr;
        else
            ADD_FAILURE() << "no such type";
        if (pAttr)
            m_cpInfo->ReleaseTypeAttr(pAttr);
    }

    const TYPEATTR& Attr() const
    {
        return m_attr;
    }
    /// Members apart by blanks: of a record as NAME:OFFSET, of an enumeration as NAME=VALUE.
    std::wstring Members() const
    {
        std::wstring wstrMembers;
        for (UINT n = 0; n < m_attr.cVars; ++n)
        {
            VARDESC* pVar = nullptr;
            if (m_cpInfo->GetVarDesc(n, &pVar) != S_OK)
                return L"unreadable";
            wstrMembers += (n ? L" " : L"") + TypeLib_Name(m_cpInfo.Get(), pVar->memid);
            wstrMembers += pVar->varkind == VAR_CONST ? L"=" + std::to_wstring(pVar->lpvarValue->lVal)
                                                      : L":" + std::to_wstring(pVar->oInst);
            m_cpInfo->ReleaseVarDesc(pVar);
        }
        return wstrMembers;
    }
    TYPE_METHOD Method(UINT _nIndex) const
    {
        FUNCDESC* pFunc = nullptr;
        if (m_cpInfo->GetFuncDesc(_nIndex, &pFunc) != S_OK)
            return {};
        TYPE_METHOD method = {TypeLib_Name(m_cpInfo.Get(), pFunc->memid), {}, 0, {}, {}};
        method.nSlot = static_cast<size_t>(pFunc->oVft) / sizeof(void*);
        BSTR arrNames[16] = {};
        UINT nNames = 0;
        m_cpInfo->GetNames(pFunc->memid, arrNames, 16, &nNames);
        for (UINT n = 0; n < nNames; ++n)
            method.wstrArgs += n == 0 ? (SysFreeString(arrNames[0]), L"") : L" " + TakeText(arrNames[n]);
        for (SHORT n = 0; n < pFunc->cParams; ++n)
        {
            method.strKinds += Kind(pFunc->lprgelemdescParam[n].tdesc);
            method.strRoles += Role(pFunc->lprgelemdescParam[n].paramdesc.wParamFlags);
        }
        m_cpInfo->ReleaseFuncDesc(pFunc);
        return method;
    }
    /// The table of methods of a dual interface, else the interface itself.
    CTypeReader Table() const
    {
        HREFTYPE nRef = 0;
        CZPtr<ITypeInfo> cpTable;
        if (m_attr.typekind != TKIND_DISPATCH || m_cpInfo->GetRefTypeOfImplType(UINT(-1), &nRef) != S_OK ||
            m_cpInfo->GetRefTypeInfo(nRef, cpTable.Put()) != S_OK)
            return *this;
        return CTypeReader(cpTable);
    }

private:
    static char Role(USHORT _nFlags)
    {
        if (_nFlags & PARAMFLAG_FOUT)
            return _nFlags & PARAMFLAG_FRETVAL ? 'r' : 'o';
        return _nFlags & (PARAMFLAG_FOPT | PARAMFLAG_FHASDEFAULT) ? 'd' : 'i';
    }
    static char Kind(const TYPEDESC& _desc)
    {
        switch (_desc.vt)
        {
        case VT_PTR:
        case VT_BSTR:
        case VT_LPSTR:
        case VT_LPWSTR:
        case VT_UNKNOWN:
        case VT_DISPATCH:
            return 'p';
        case VT_R8:
            return 'd';
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_USERDEFINED: // an enumeration: records come as pointers
            return 'i';
        default:
            return '?';
        }
    }

    CZPtr<ITypeInfo> m_cpInfo;
    TYPEATTR m_attr = {};
};

class CTypeLibReader
{
public:
    explicit CTypeLibReader(const std::wstring& _wstrPath)
    {
        EXPECT_EQ(LoadTypeLibEx(_wstrPath.c_str(), REGKIND_NONE, m_cpLib.Put()), S_OK);
    }
    std::wstring Name() const
    {
        return TypeLib_Name(m_cpLib.Get(), -1);
    }
    TLIBATTR Attr() const
    {
        TLIBATTR* pAttr = nullptr;
        if (m_cpLib->GetLibAttr(&pAttr) != S_OK)
            return {};
        const TLIBATTR attr = *pAttr;
        m_cpLib->ReleaseTLibAttr(pAttr);
        return attr;
    }
    CTypeReader Type(const std::wstring& _wstrName) const
    {
        CZPtr<ITypeInfo> cpInfo;
        for (UINT n = 0; n < m_cpLib->GetTypeInfoCount(); ++n)
            if (TypeLib_Name(m_cpLib.Get(), static_cast<LONG>(n)) == _wstrName)
                m_cpLib->GetTypeInfo(n, cpInfo.Put());
        return CTypeReader(cpInfo);
    }
    CTypeReader Interface(const std::wstring& _wstrName) const
    {
        return Type(_wstrName).Table();
    }

private:
    CZPtr<ITypeLib> m_cpLib;
};
