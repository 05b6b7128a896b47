#include "Props/Xml/XmlLimits.h"
#include "Props/Xml/XmlReader.h"
#include "Props/Xml/XmlWriter.h"

#include <gtest/gtest.h>

namespace
{

/// "line:column reason", or "" when the document can be read.
std::string ErrorOf(std::string_view _svDocument)
{
    XML_READ_ERROR error;
    if (XmlReader_Read(_svDocument, &error))
        return "";
    return std::to_string(error.nLine) + ":" + std::to_string(error.nColumn) + " " + error.strReason;
}

std::string Repeat(std::string_view _svText, size_t _nTimes)
{
    std::string strText;
    for (size_t n = 0; n < _nTimes; ++n)
        strText += _svText;
    return strText;
}

TEST(XmlReader, ReadsWhatItSupports)
{
    XML_READ_ERROR error;
    const auto upRoot =
        XmlReader_Read("\xEF\xBB\xBF<?xml version='1.0' encoding=\"utf-8\" standalone='yes' ?>\r\n<!-- c -->\n"
                       "<r a = '1' color::range=\"&lt;&#x41;&#66;\t&apos;\r\n'\">\n"
                       "  <k/>\n  <!-- <k> - --> <k n='1'> x\xF0\x9F\x8E\xAC&amp;<![CDATA[<y>&]]>\r\nz </k >\n"
                       "  <\xC3\xA4.-1>\n</\xC3\xA4.-1><e> <f/>&#32;</e></r>\n<!----> ",
                       &error);
    ASSERT_TRUE(upRoot) << error.nLine << ":" << error.nColumn << " " << error.strReason;
    EXPECT_EQ(upRoot->Name(), "r");
    EXPECT_EQ(upRoot->Text(), "") << "blanks between elements are no text";
    ASSERT_EQ(upRoot->Attrs().size(), 2u);
    EXPECT_EQ(upRoot->AttrText("color::range", ""), "<AB ' '");
    ASSERT_EQ(upRoot->ChildCount(), 4u);
    EXPECT_EQ(upRoot->ChildFind("k", 1)->Text(), " x\xF0\x9F\x8E\xAC&<y>&\nz ");
    EXPECT_EQ(upRoot->Child(2).Name(), "\xC3\xA4.-1");
    EXPECT_EQ(upRoot->Child(2).Text(), "\n");
    EXPECT_EQ(upRoot->Child(3).Text(), "  ") << "a blank that is written as a reference is meant";
}

TEST(XmlReader, RefusesHostileDocumentsAndSaysWhere)
{
    const std::pair<std::string, std::string> arrCases[] = {
        {"", "1:1 the document has no element"},
        {" \n <!-- -->", "2:10 the document has no element"},
        {"text", "1:1 text cannot stand outside the root element"},
        {"<a/><b/>", "1:5 only comments may follow the root element"},
        {"<!DOCTYPE a [<!ENTITY b 'c'>]><a>&b;</a>", "1:1 a document type is not allowed here"},
        {"<a><!ELEMENT b ANY></a>", "1:4 only elements, comments and CDATA sections in elements are allowed here"},
        {"<a><?php x?></a>", "1:4 processing instructions are not allowed here"},
        {"\n<?xml version='1.0'?><a/>", "2:1 the XML declaration must be the first thing in the document"},
        {"<?xml version='1.1'?><a/>", "1:6 the XML declaration must say version=\"1.0\""},
        {"<?xml version='1.0' encoding='latin1'?><a/>", "1:21 the encoding must be UTF-8"},
        {"<?xml version='1.0'encoding='utf-8'?><a/>", "1:20 the XML declaration does not end with \"?>\""},
        {"<?xml version='1.0'", "1:20 the XML declaration does not end with \"?>\""},
        {"<a", "1:1 the start tag of \"a\" is not closed"},
        {"<a b", "1:5 '=' is missing after the name of an attribute"},
        {"<a b=c>", "1:6 the value of an attribute must be in quotes"},
        {"<a\nb='c", "2:3 this quote is not closed"},
        {"<a b='<'/>", "1:7 '<' cannot stand in the value of an attribute; write &lt;"},
        {"<a b='1' b='2'/>", "1:10 the attribute \"b\" is there twice"},
        {"<a b='1'c='2'/>", "1:9 this character cannot stand in the start tag here"},
        {"<a /b>", "1:4 an attribute, '>' or '/>' is missing in the start tag"},
        {"<a>1 < 2</a>", "1:7 the name of an element is missing after '<'; write &lt; in text"},
        {"<a>", "1:4 the document ends inside the element \"a\""},
        {"<a>\r\n\r<b>\n</a>", "4:1 the end of \"a\" stands where that of \"b\" is expected"},
        {"<a></a", "1:7 '>' is missing in the end tag"},
        {"<a></ a>", "1:6 the name of an element is missing after '</'"},
        {"<a><!-- x</a>", "1:4 this comment is not closed"},
        {"<a><!-- x -- y --></a>", "1:13 \"--\" cannot stand in a comment"},
        {"<a><![CDATA[ ]] ></a>", "1:4 this CDATA section is not closed"},
        {"<a>\xC3\xA4]]></a>", "1:5 \"]]>\" cannot stand in text; write ]]&gt;"},
        {"<a>&amp</a>", "1:4 this '&' begins no reference; write &amp;"},
        {"<a>&lol;</a>", "1:4 the entity \"lol\" is not known; there are amp, lt, gt, quot and apos"},
        {"<a b='&#0;'/>", "1:7 this reference names no character that XML can hold"},
        {"<a>&#xD800;</a>", "1:4 this reference names no character that XML can hold"},
        {"<a>&#x110000;</a>", "1:4 this reference names no character that XML can hold"},
        {"<a>&#99999999999;</a>", "1:4 this reference names no character that XML can hold"},
        {std::string("<a>\0</a>", 8), "1:4 this byte is not valid UTF-8, or a character that XML cannot hold"},
        {"<a>\n\xC3\xA4\x01</a>", "2:2 this byte is not valid UTF-8, or a character that XML cannot hold"},
        {"<a>\xC0\x80</a>", "1:4 this byte is not valid UTF-8, or a character that XML cannot hold"},
        {"<a>\xE0\x80\xBC</a>", "1:4 this byte is not valid UTF-8, or a character that XML cannot hold"},
        {"<a>\xF0\x80\x80\xBC</a>", "1:4 this byte is not valid UTF-8, or a character that XML cannot hold"},
        {"<a>\xED\xA0\x80</a>", "1:4 this byte is not valid UTF-8, or a character that XML cannot hold"},
        {"<a>\xEF\xBF\xBF</a>", "1:4 this byte is not valid UTF-8, or a character that XML cannot hold"},
        {"<a>\xF4\x90\x80\x80</a>", "1:4 this byte is not valid UTF-8, or a character that XML cannot hold"},
        {"<a/>\xE2\x82", "1:5 this byte is not valid UTF-8, or a character that XML cannot hold"},
        {"\xFF\xFE<", "1:1 the document is UTF-16; save it as UTF-8"},
    };
    for (const auto& [strDocument, strExpected] : arrCases)
        EXPECT_EQ(ErrorOf(strDocument), strExpected) << strDocument;
}

TEST(XmlReader, BoundsDepthAndSize)
{
    const size_t nDepth = c_nXmlMaxDepth;
    EXPECT_EQ(ErrorOf(Repeat("<a>", nDepth) + Repeat("</a>", nDepth)), "");
    EXPECT_EQ(ErrorOf(Repeat("<a>", nDepth) + "<b/>"), "1:193 too many elements inside each other");
    EXPECT_EQ(ErrorOf(Repeat("<a>", 1'000'000)), "1:193 too many elements inside each other");
    EXPECT_EQ(ErrorOf("<r>" + Repeat("<a/>", c_nXmlMaxNodes - 1) + "</r>"), "");
    EXPECT_EQ(ErrorOf("<r>" + Repeat("<a/>", c_nXmlMaxNodes)), "1:262144 too many elements");
    std::string strAttrs;
    for (size_t n = 0; n < c_nXmlMaxAttrs; ++n)
        strAttrs += " a" + std::to_string(n) + "=''";
    const std::string strFull = "<a" + strAttrs + "/>";
    EXPECT_EQ(ErrorOf(strFull), "");
    EXPECT_NE(ErrorOf("<a" + strAttrs + " b=''/>").find("too many attributes"), std::string::npos);
    EXPECT_NE(
        ErrorOf("<r>" + Repeat(strFull, c_nXmlMaxAttrsAll / c_nXmlMaxAttrs) + "<b c=''/></r>").find("too many at"),
        std::string::npos);
    EXPECT_EQ(ErrorOf("<a>" + std::string(c_nXmlMaxBytes - 7, 'x') + "</a>"), "");
    EXPECT_EQ(ErrorOf("<a>" + std::string(c_nXmlMaxBytes - 6, 'x') + "</a>"),
              "1:1 the document has more than 16777216 bytes");
}

TEST(XmlWriter, WritesReadableText)
{
    CXmlNode root("zl-root");
    root.AttrSetText("a", "<\"&\n\t\r'>");
    root.ChildAdd("key")->AttrSetDouble("color::range", 0.5);
    root.ChildAdd("note")->TextSet("1 < 2\r]]>");
    CXmlNode* pMixed = root.ChildAdd("mixed");
    pMixed->TextSet(" x");
    pMixed->ChildAdd("b")->ChildAdd("c");
    std::string strDocument;
    std::string strReason;
    ASSERT_TRUE(XmlWriter_Write(root, &strDocument, &strReason));
    EXPECT_EQ(strDocument, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                           "<zl-root a=\"&lt;&quot;&amp;&#10;&#9;&#13;'>\">\n"
                           "  <key color::range=\"0.5\"/>\n"
                           "  <note>1 &lt; 2&#13;]]&gt;</note>\n"
                           "  <mixed>&#32;x<b>\n      <c/>\n    </b></mixed>\n"
                           "</zl-root>\n");
}

/// Why a root that a function has spoilt cannot be written.
template <class Fn> std::string WriteError(Fn&& _fnSpoil)
{
    CXmlNode root("zl-root");
    root.ChildAdd("key");
    _fnSpoil(*root.ChildFind("key"));
    std::string strDocument = "left over";
    std::string strReason;
    if (XmlWriter_Write(root, &strDocument, &strReason))
        return "written";
    EXPECT_EQ(strDocument, "");
    return strReason;
}

TEST(XmlWriter, RefusesWhatCouldNotBeReadAgain)
{
    constexpr const char* c_pszBadText =
        "zl-root/key: a text is not UTF-8, or has a control character that XML cannot hold";
    EXPECT_EQ(WriteError([](CXmlNode& _node) { _node.TextSet("\x01"); }), c_pszBadText);
    EXPECT_EQ(WriteError([](CXmlNode& _node) { _node.AttrSetText("a", "\xFF"); }), c_pszBadText);
    EXPECT_EQ(WriteError([](CXmlNode& _node) { _node.AttrSetText("a", {"\0", 1}); }), c_pszBadText);
    for (const char* pszName : {"", "1", "a b", "-", "\xC3"})
    {
        EXPECT_EQ(WriteError([=](CXmlNode& _node) { _node.AttrSetText(pszName, ""); }),
                  "zl-root/key: an attribute has a name that XML does not allow");
        EXPECT_EQ(WriteError([=](CXmlNode& _node) { _node.ChildAdd(pszName); }),
                  "zl-root/key: an element has a name that XML does not allow");
    }
    EXPECT_EQ(WriteError([](CXmlNode& _node) {
                  _node.AttrAppend("a", "1");
                  _node.AttrAppend("a", "2");
              }),
              "zl-root/key: an attribute is there twice");
    const std::string strDeep = WriteError([](CXmlNode& _node) {
        CXmlNode* pNode = &_node;
        for (size_t n = 2; n <= c_nXmlMaxDepth; ++n)
            pNode = pNode->ChildAdd("d");
    });
    EXPECT_NE(strDeep.find("/d: too many elements inside each other"), std::string::npos) << strDeep;
    EXPECT_EQ(WriteError([](CXmlNode& _node) { _node.TextSet(std::string(c_nXmlMaxBytes / 4, '&')); }),
              "zl-root: the document becomes too long");
}

} // namespace
