#include "Host/UiClient.h"
#include "zkhost/Ui/OutName.h"

#include <filesystem>
#include <memory>
#include <string_view>
#include <vector>

// Who is let in, and that nobody keeps others out.

namespace
{

/// How a reader ends that gets bytes in pieces.
struct READ_END
{
    eHttpRead eRead = eHttpRead::More;
    int nStatus = 0;
    std::string strBody;
};

READ_END ReadIn(const std::string& _strBytes, size_t _cbPiece)
{
    CZHttpReader reader;
    bool bBody = false;
    READ_END end;
    for (size_t n = 0; n < _strBytes.size(); n += _cbPiece)
    {
        const std::string_view svPiece = std::string_view(_strBytes).substr(n, _cbPiece);
        end.eRead = bBody ? reader.TakeBody(svPiece) : reader.Take(svPiece);
        if (end.eRead == eHttpRead::Head)
        {
            bBody = true;
            end.eRead = reader.TakeBody({});
        }
        if (end.eRead == eHttpRead::Done || end.eRead == eHttpRead::Refused)
            break;
    }
    end.nStatus = reader.Status();
    end.strBody = reader.Request().strBody;
    return end;
}

TEST(UiHttp, ReadsRequestsInPiecesAndRefusesOthers)
{
    const std::string strHost = "Host: a\r\n";
    const std::pair<std::string, int> c_arrCases[] = {
        {"GET / HTTP/1.1\r\n" + strHost + "\r\n", 0},
        {"POST /a?b=%41+c&d HTTP/1.1\r\n" + strHost + "Content-Length: 5\r\n\r\nhello", 0},
        {"GET / HTTP/1.1\r\n\r\n", 400},                          // no Host
        {"GET / HTTP/1.1\r\n" + strHost + strHost + "\r\n", 400}, // two
        {"GET / HTTP/1.1\r\n" + strHost + "Origin: a\r\nOrigin: b\r\n\r\n", 400},
        {"GET / HTTP/1.1\n" + strHost + "\r\n", 505},            // a line end of another kind
        {"GET / HTTP/1.1\r\n" + strHost + " b: c\r\n\r\n", 400}, // a header that goes on
        {"GET / HTTP/1.1\r\nHost : a\r\n\r\n", 400},
        {"GET /\x01 HTTP/1.1\r\n" + strHost + "\r\n", 400},
        {"GET http://b/ HTTP/1.1\r\n" + strHost + "\r\n", 400},
        {"GET /%4 HTTP/1.1\r\n" + strHost + "\r\n", 400},
        {"GET / HTTP/2.0\r\n" + strHost + "\r\n", 505},
        {"PUT / HTTP/1.1\r\n" + strHost + "\r\n", 501},
        {"POST / HTTP/1.1\r\n" + strHost + "Transfer-Encoding: chunked\r\n\r\n", 501},
        {"POST / HTTP/1.1\r\n" + strHost + "Content-Length: 5, 6\r\n\r\n", 400},
        {"POST / HTTP/1.1\r\n" + strHost + "Content-Length: -5\r\n\r\n", 400},
        {"POST / HTTP/1.1\r\n" + strHost + "Content-Length: 99999999999999999999\r\n\r\n", 413},
        {"GET /" + std::string(c_cbHttpLine, 'a') + " HTTP/1.1\r\n" + strHost + "\r\n", 414},
        {std::string(2 * c_cbHttpLine, 'a'), 431},
        {"GET / HTTP/1.1\r\n" + std::string(2 * c_cbHttpHead, 'a'), 431},
    };
    for (const auto& [strBytes, nStatus] : c_arrCases)
        for (const size_t cbPiece : {size_t{1}, size_t{7}, strBytes.size()})
        {
            const READ_END end = ReadIn(strBytes, cbPiece);
            EXPECT_EQ(end.eRead, nStatus ? eHttpRead::Refused : eHttpRead::Done) << strBytes.substr(0, 80);
            // Of a line that never ends it is seen early, when the line has not been understood yet.
            EXPECT_TRUE(end.nStatus == nStatus || (nStatus == 414 && end.nStatus == 431)) << strBytes.substr(0, 80);
            EXPECT_EQ(end.strBody, !nStatus && strBytes.starts_with("POST") ? "hello" : "");
        }
    std::string strMany = "GET / HTTP/1.1\r\n" + strHost;
    for (size_t i = 0; i < c_nHttpHeaders; ++i)
        strMany += "a: b\r\n";
    EXPECT_EQ(ReadIn(strMany + "\r\n", strMany.size()).nStatus, 431);
}

TEST(UiHttp, RequestsThatFollowEachOtherAreTakenApart)
{
    CZHttpReader reader;
    EXPECT_EQ(
        reader.Take(
            "POST /a%20b?c=d%26e+f&g HTTP/1.1\r\nHOST:  x \r\nContent-Length: 2\r\n\r\nhiGET /2 HTTP/1.0\r\n\r\n"),
        eHttpRead::Head);
    EXPECT_EQ(reader.TakeBody({}), eHttpRead::Done);
    EXPECT_EQ(reader.Request().strPath, "/a b");
    EXPECT_EQ(*reader.Request().Query("c"), "d&e f");
    EXPECT_EQ(*reader.Request().Query("g"), "");
    EXPECT_EQ(*reader.Request().Header("host"), "x");
    EXPECT_EQ(reader.Request().strBody, "hi");
    EXPECT_TRUE(reader.Request().bKeepAlive);
    EXPECT_EQ(reader.Next(), eHttpRead::Head);
    EXPECT_EQ(reader.Request().strPath, "/2");
    EXPECT_EQ(reader.Request().Query("c"), nullptr);
    EXPECT_FALSE(reader.Request().bKeepAlive);
}

TEST(UiNames, OnlyBareNamesAreWritten)
{
    for (const char* pszName : {"keyed.mov", "my clip (2).y4m", "n_%05d.png", "\xC3\xA4.raw", "console.png", "com.y4m"})
        EXPECT_EQ(OutName_Fault(pszName), "") << pszName;
    for (const char* pszName :
         {"",        ".",         "..",       ".a.png",   "-",        "-a.png",  " a.png",   "a.png ",
          "a.png.",  "a/b.png",   "../b.png", "a\\b.png", "C:a.png",  "a.png:s", "a*.png",   "a?.png",
          "a\n.png", "a\x7F.png", "con",      "NUL.png",  "Com1.y4m", "lpt9",    "aux .png", "COM\xC2\xB9.png",
          "conin$",  "a\xFF.png", "a\"b.png", "a|b.png",  "<a>.png"})
        EXPECT_NE(OutName_Fault(pszName), "") << pszName;
    EXPECT_NE(OutName_Fault(std::string(300, 'a')), "");
}

#if defined(_WIN32)
constexpr bool c_bMayBeDropped = true; // a request that nobody has read yet, by those that come after it
#else
constexpr bool c_bMayBeDropped = false;
#endif

/// A clip and a server.
class CUiServerTest : public CCommandTest
{
protected:
    UI_OPTIONS Options()
    {
        EXPECT_EQ(Run("sample -q -o " + File("clip.y4m") + " --size 160x96 --frames 4"), 0);
        UI_OPTIONS options;
        options.strInput = m_folder.Path("clip.y4m");
        return options;
    }
};

TEST_F(CUiServerTest, LetsNobodyInButItsOwnPages)
{
    const CUiHost host(Options());
    const auto fnAsk = [&](const std::string& _strTarget, const std::string& _strHeaders) {
        return CUiClient(host.Port()).Ask("GET " + _strTarget + " HTTP/1.1\r\n" + _strHeaders + "\r\n");
    };
    const std::string strHost = "Host: " + host.Name() + "\r\n";
    const std::string strCookie = "Cookie: " + host.Cookie() + "\r\n";
    std::string strWrong = host.Token();
    strWrong.back() = strWrong.back() == '0' ? '1' : '0';
    const std::string c_arrRefused[][2] = {
        {"/api/state", strHost},
        {"/api/state?token=" + strWrong, strHost},
        {"/api/state?token=", strHost},
        {"/", strHost},
        {"/style.css", strHost},
        {"/?token=" + strWrong, strHost},
        {"/api/state", strHost + "Cookie: " + host.Cookie().substr(0, 20) + "\r\n"},
        {"/api/state", strHost + "Cookie: x" + host.Cookie() + "\r\n"},
        {"/api/state", "Host: evil.example\r\n" + strCookie},
        {"/api/state", "Host: " + host.Name() + ".evil.example\r\n" + strCookie},
        {"/api/state", "Host: 127.0.0.1\r\n" + strCookie},
        {"/api/state", strHost + strCookie + "Origin: http://evil.example\r\n"},
        {"/api/state", strHost + strCookie + "Origin: null\r\n"},
        {"/api/state", strHost + strCookie + ZFormat("Origin: http://localhost:%d\r\n", host.Port())},
    };
    for (const auto& [strTarget, strHeaders] : c_arrRefused)
    {
        const UI_REPLY reply = fnAsk(strTarget, strHeaders);
        EXPECT_EQ(reply.nStatus, 403) << strTarget << " " << strHeaders;
        EXPECT_FALSE(reply.Has(host.Token())) << strTarget;
        EXPECT_FALSE(reply.Has("Access-Control")) << strTarget;
    }
    const UI_REPLY login = fnAsk("/?token=" + host.Token(), strHost);
    EXPECT_EQ(login.nStatus, 303);
    EXPECT_TRUE(login.Has("Set-Cookie: " + host.Cookie() + "; HttpOnly; SameSite=Strict; Path=/\r\n"));
    EXPECT_EQ(fnAsk("/", strHost + strCookie).nStatus, 200);
    EXPECT_EQ(fnAsk("/api/state", strHost + strCookie + "Origin: http://" + host.Name() + "\r\n").nStatus, 200);
    EXPECT_EQ(fnAsk("/api/state?token=" + host.Token(), ZFormat("Host: [::1]:%d\r\n", host.Port())).nStatus, 200);
    EXPECT_TRUE(fnAsk("/", strHost + strCookie).Has("Content-Security-Policy: default-src 'self'"));
}

TEST_F(CUiServerTest, RefusesWhatIsTooLargeOrNotThere)
{
    const CUiHost host(Options());
    EXPECT_EQ(host.Get("/../../etc/passwd").nStatus, 404);
    EXPECT_EQ(host.Get("/%2e%2e/clip.y4m").nStatus, 404);
    EXPECT_EQ(host.Get("/api/open?path=/etc/passwd").nStatus, 404);
    EXPECT_EQ(host.Get("/api/param?name=spill&value=1").nStatus, 405); // it changes something
    EXPECT_EQ(host.Post("/api/frame").nStatus, 405);
    EXPECT_EQ(host.Post("/api/param?name=spill&value=10", "body").nStatus, 413);
    EXPECT_EQ(host.Get("/api/frame?ow=8193&oh=8192").nStatus, 400);
    EXPECT_EQ(host.Get("/api/frame?x=100&w=61&h=10").nStatus, 400);
    EXPECT_EQ(host.Get("/api/frame?n=4").nStatus, 409);
    EXPECT_EQ(host.Get("/api/frame?n=-1").nStatus, 400);
    EXPECT_EQ(host.Get("/api/frame?view=nothing").nStatus, 400);
    EXPECT_TRUE(host.Post("/api/param?name=spil&value=1").Has("there are backdrop, solid"));
    EXPECT_TRUE(host.Post("/api/param?name=spill&value=101").Has("from 0 to 100"));
    EXPECT_TRUE(host.Post("/api/keys", m_folder.Path("clip.y4m")).Has("no file of keys")); // not taken for a path
    EXPECT_EQ(host.Post("/api/background", "no picture").nStatus, 400);
    CUiClient client(host.Port()); // whose body is refused before it is sent
    ASSERT_TRUE(client.Send("POST /api/background HTTP/1.1\r\nHost: " + host.Name() + "\r\nCookie: " + host.Cookie() +
                            "\r\nContent-Length: 99999999\r\n\r\n"));
    EXPECT_EQ(client.Receive().nStatus, 413);
    EXPECT_EQ(client.Receive().nStatus, 0);
}

TEST_F(CUiServerTest, HalfRequestsAndHeldOnesDoNotStopOthers)
{
    CUiHost host(Options());
    const int64_t nRevision = host.Get("/api/state").NumberAfter("\"revision\":");
    std::vector<std::unique_ptr<CUiClient>> vecHeld;
    for (int i = 0; i < 20; ++i)
    {
        vecHeld.push_back(std::make_unique<CUiClient>(host.Port()));
        ASSERT_TRUE(vecHeld.back()->Send(host.Request("GET", ZFormat("/api/state?after=%d", nRevision))));
    }
    std::vector<std::unique_ptr<CUiClient>> vecHalf;
    for (size_t i = 0; i < 3 * CZHttpServer::c_nMaxConnections; ++i)
    {
        vecHalf.push_back(std::make_unique<CUiClient>(host.Port()));
        vecHalf.back()->Send(i % 2 ? "" : "GET /api/sta");
        if (i % 16 == 0)
        {
            EXPECT_EQ(host.Get("/api/frame?ow=16&oh=16").nStatus, 200) << i; // somebody else in between
        }
    }
    EXPECT_LE(host.Connections(), 2 * CZHttpServer::c_nMaxConnections);
    EXPECT_EQ(host.Post("/api/param?name=spill&value=70").nStatus, 200);
    for (const auto& upClient : vecHeld) // the change lets all of them go that were still held
    {
        const int nStatus = upClient->Receive().nStatus;
        EXPECT_TRUE(nStatus == 200 || (c_bMayBeDropped && nStatus == 0)) << nStatus;
    }
}

/// Open handles of this process; threads too, where the system tells.
size_t HandlesAndThreads()
{
#if defined(_WIN32)
    DWORD nHandles = 0;
    GetProcessHandleCount(GetCurrentProcess(), &nHandles);
    return nHandles;
#else
    const auto fnCount = [](const char* _pszFolder) {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(_pszFolder), {}));
    };
    return fnCount("/proc/self/fd") + fnCount("/proc/self/task");
#endif
}

TEST_F(CUiServerTest, TenThousandRequestsLeaveNothingBehind)
{
    CUiHost host(Options());
    EXPECT_EQ(host.Get("/api/frame").nStatus, 200); // the module has its threads now
    const auto fnSettled = [&] {                    // connections that have ended go with the server's next round
        while (host.Connections() > 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return HandlesAndThreads();
    };
    const size_t nBefore = fnSettled();
    const std::string c_arrRequests[] = {host.Request("GET", "/api/frame?ow=32&oh=18"),
                                         host.Request("GET", "/api/state"), host.Request("GET", "/nothing"),
                                         host.Request("GET", "/")};
    for (int nRound = 0; nRound < 500; ++nRound)
    {
        CUiClient client(host.Port());
        for (int i = 0; i < 20; ++i)
            ASSERT_GT(client.Ask(c_arrRequests[i % 4]).nStatus, 0) << nRound;
    }
    EXPECT_LE(fnSettled(), nBefore + 16); // what the system keeps for itself
}

} // namespace
