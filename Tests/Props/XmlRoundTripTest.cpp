#include "Props/Xml/XmlReader.h"
#include "Props/Xml/XmlWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace
{

/// Trees and texts that follow from a seed, rich in characters that a document has to escape.
class CRandomTree
{
public:
    explicit CRandomTree(uint32_t _nSeed)
        : m_random(_nSeed)
    {
    }
    std::unique_ptr<CXmlNode> Make(int _nDepth)
    {
        auto upNode = std::make_unique<CXmlNode>(Pick(c_arrNames));
        for (size_t n = Below(4); n > 0; --n)
            upNode->AttrSetText(Pick(c_arrNames), Text());
        if (Below(2))
            upNode->TextSet(Text());
        for (size_t n = _nDepth > 0 ? Below(4) : 0; n > 0; --n)
            upNode->ChildAdopt(Make(_nDepth - 1));
        return upNode;
    }
    size_t Below(size_t _nLimit)
    {
        return m_random() % _nLimit;
    }

private:
    static constexpr const char* c_arrNames[] = {"a", "key", "color::range", "x-1.y", "_", "\xC3\xA4\xE4\xB8\xAD"};
    static constexpr const char* c_arrPieces[] = {
        "a",           " ",   "\n", "\r", "\t",   "\r\n",     "<",
        ">",           "&",   "'",  "\"", "]]>",  "&amp;",    "&#10;",
        "--",          "-->", "<!", "?>", "</a>", "\xC3\xA4", "\xF0\x9F\x8E\xAC",
        "\xEF\xBB\xBF"};

    template <size_t N> const char* Pick(const char* const (&_arrFrom)[N])
    {
        return _arrFrom[Below(N)];
    }
    std::string Text()
    {
        std::string strText;
        for (size_t n = Below(6); n > 0; --n)
            strText += Pick(c_arrPieces);
        return strText;
    }

    std::mt19937 m_random;
};

bool SameTree(const CXmlNode& _a, const CXmlNode& _b)
{
    bool bSame = _a.Name() == _b.Name() && _a.Text() == _b.Text() && _a.Attrs().size() == _b.Attrs().size() &&
                 _a.ChildCount() == _b.ChildCount();
    for (size_t n = 0; bSame && n < _a.Attrs().size(); ++n)
        bSame = _a.Attrs()[n].strName == _b.Attrs()[n].strName && _a.Attrs()[n].strValue == _b.Attrs()[n].strValue;
    for (size_t n = 0; bSame && n < _a.ChildCount(); ++n)
        bSame = SameTree(_a.Child(n), _b.Child(n));
    return bSame;
}

TEST(XmlRoundTrip, EveryTreeComesBackAsItWas)
{
    for (uint32_t nSeed = 0; nSeed < 2000; ++nSeed)
    {
        const auto upTree = CRandomTree(nSeed).Make(4);
        std::string strDocument;
        std::string strReason;
        ASSERT_TRUE(XmlWriter_Write(*upTree, &strDocument, &strReason)) << strReason;
        XML_READ_ERROR error;
        const auto upRead = XmlReader_Read(strDocument, &error);
        ASSERT_TRUE(upRead) << error.nLine << ":" << error.nColumn << " " << error.strReason << "\n" << strDocument;
        ASSERT_TRUE(SameTree(*upTree, *upRead)) << "seed " << nSeed << "\n" << strDocument;
    }
}

/// A document in which bytes are exchanged, lost or doubled is read or refused with a place inside it.
TEST(XmlRoundTrip, DamagedDocumentsAreReadOrRefused)
{
    constexpr std::string_view c_svNasty = "<>&;\"'/!-[]#x=?\xC3\xFF\x01 \n";
    int nRefused = 0;
    for (uint32_t nSeed = 0; nSeed < 3000; ++nSeed)
    {
        CRandomTree random(nSeed);
        std::string strDocument;
        std::string strReason;
        ASSERT_TRUE(XmlWriter_Write(*random.Make(2), &strDocument, &strReason));
        for (size_t n = random.Below(3) + 1; n > 0; --n)
        {
            const size_t nPos = random.Below(strDocument.size());
            if (random.Below(3) == 0)
                strDocument.erase(nPos, random.Below(8) + 1);
            else if (random.Below(2) == 0)
                strDocument.insert(nPos, strDocument.substr(random.Below(strDocument.size()), random.Below(16)));
            else
                strDocument[nPos] = c_svNasty[random.Below(c_svNasty.size())];
        }
        XML_READ_ERROR error;
        if (XmlReader_Read(strDocument, &error))
            continue;
        ++nRefused;
        const auto nLines = static_cast<size_t>(std::count(strDocument.begin(), strDocument.end(), '\n')) + 1;
        ASSERT_TRUE(error.nLine >= 1 && error.nLine <= nLines && error.nColumn >= 1) << strDocument;
        ASSERT_LE(error.nColumn, strDocument.size() + 1);
        ASSERT_FALSE(error.strReason.empty());
    }
    EXPECT_GT(nRefused, 1000) << "the damage does no harm: this test tests nothing";
}

} // namespace
