#include "Host/CommandRunner.h"
#include "Support/AllocCounter.h"
#include "Support/Refuse.h"
#include "zkhost/Commands/UiRender.h"
#include "zkhost/Ui/Api.h"

#include "Base/ZLog.h"
#include "Kit/HostError.h"

#include <cstdio>
#include <filesystem>
#include <thread>

// Memory and threads run out in what the page asks for: it gets an answer all the same, and what it sees stays in line
// with the module.

namespace
{

HTTP_REQUEST Request(const char* _pszMethod, const char* _pszPath, HTTP_PAIRS _vecQuery = {}, std::string _strBody = {})
{
    HTTP_REQUEST request;
    request.strMethod = _pszMethod;
    request.strPath = _pszPath;
    request.vecQuery = std::move(_vecQuery);
    request.strBody = std::move(_strBody);
    return request;
}

class CFaultsUiTest : public CCommandTest
{
protected:
    CFaultsUiTest()
        : m_session(Options())
        , m_api(m_session)
    {
    }
    UI_OPTIONS Options()
    {
        EXPECT_EQ(Run("sample -q -o " + File("clip.y4m") + " --size 64x48 --frames 2"), 0) << m_strError;
        UI_OPTIONS options;
        options.strInput = m_folder.Path("clip.y4m");
        options.vecOptions = {{"process.threads", "2"}};
        options.fnRender = UiRender_Run;
        return options;
    }
    /// The answer as the server gives it.
    int Ask(const HTTP_REQUEST& _request)
    {
        try
        {
            HTTP_ANSWER answer = m_api.Answer(_request);
            m_strAnswer = std::move(answer.strBody);
            return answer.nStatus;
        }
        catch (const CZHostError& error)
        {
            m_strAnswer = error.what();
            return 400;
        }
        catch (const std::exception& error) // no memory, no threads
        {
            m_strAnswer = error.what();
            return 500;
        }
    }
    std::string State()
    {
        EXPECT_EQ(Ask(Request("GET", "/api/state")), 200);
        return m_strAnswer;
    }
    /// The first slot, the second generation, and keys.
    void Begin()
    {
        EXPECT_EQ(Ask(Request("POST", "/api/slot", {{"name", "A"}})), 200);
        EXPECT_EQ(Ask(Request("POST", "/api/keyer", {{"generation", "2"}})), 200);
        EXPECT_EQ(Ask(Request("POST", "/api/key", {{"kind", "reset"}})), 200);
        EXPECT_EQ(Ask(Request("POST", "/api/key", {{"kind", "auto"}, {"n", "0"}})), 200);
    }
    /// Another edit is the last step, under its name; slots keep their generation; a picture can be seen.
    void ExpectInLine()
    {
        const bool bSecond = State().find("\"keyer\":2") != std::string::npos;
        ++m_nValue;
        const std::string strValue = bSecond ? ZFormat("%g", m_nValue / 100.0) : std::to_string(1 + m_nValue % 40);
        const std::string strName = bSecond ? "spill" : "power";
        EXPECT_EQ(Ask(Request("POST", "/api/param", {{"name", strName}, {"value", strValue}})), 200);
        EXPECT_NE(m_strAnswer.find("\"" + strName + " " + strValue + "\"],\"at\":"), std::string::npos)
            << m_strAnswer.substr(m_strAnswer.find("\"steps\""));
        const char chSlot = m_strAnswer[m_strAnswer.find("\"slot\":\"") + 8];
        for (const char ch : {chSlot == 'A' ? 'B' : 'A', chSlot})
            EXPECT_EQ(Ask(Request("POST", "/api/slot", {{"name", std::string(1, ch)}})), 200);
        EXPECT_EQ(m_strAnswer.find("\"keyer\":2") != std::string::npos, bSecond);
        EXPECT_EQ(Ask(Request("GET", "/api/frame", {{"n", "1"}})), 200);
    }
    /// Writes the clip, and waits until that has ended. Whether the request said that it was begun; it may have been
    /// where there was no memory to say so. Takes no memory itself.
    bool Job()
    {
        const bool bBegun = Ask(m_requestRender) == 200;
        while (Ask(m_requestState) != 200 || m_strAnswer.find("\"state\":\"running\"") != std::string::npos)
            std::this_thread::yield();
        return bBegun;
    }
    /// Whether the last job wrote all of the clip.
    bool IsDone() const
    {
        return m_strAnswer.find("\"state\":\"done\"") != std::string::npos;
    }

    const HTTP_REQUEST m_requestRender = Request("POST", "/api/render", {{"output", "out.y4m"}, {"overwrite", "1"}});
    const HTTP_REQUEST m_requestState = Request("GET", "/api/state");
    CZSession m_session;
    CZApi m_api;
    std::string m_strAnswer;
    int m_nValue = 0;
};

TEST_F(CFaultsUiTest, MemoryRunsOutInEveryRequest)
{
    Begin();
    ExpectInLine(); // what a program keeps from its first picture on
    Begin();
    EXPECT_EQ(Ask(Request("GET", "/api/keys")), 200);
    const std::string strKeys = m_strAnswer;
    const HTTP_REQUEST arrRequests[] = {
        Request("GET", "/api/state"),
        Request("GET", "/api/frame", {{"n", "0"}, {"over", "404040"}}),
        Request("GET", "/api/probe", {{"n", "0"}, {"x", "2"}, {"y", "2"}}),
        Request("GET", "/api/keys"),
        Request("POST", "/api/keys", {}, strKeys),
        Request("POST", "/api/key", {{"kind", "auto"}, {"n", "1"}}),
        Request("POST", "/api/key", {{"kind", "point"}, {"use", "protect"}, {"n", "0"}, {"x", "30"}, {"y", "30"}}),
        Request("POST", "/api/param", {{"name", "choke"}, {"value", "2"}}),
        Request("POST", "/api/region", {{"kind", "garbage"}, {"n", "0"}, {"polygon", "0,0 9,0 9,9"}}),
        Request("POST", "/api/steps", {{"by", "-1"}}),
        Request("POST", "/api/preset", {{"name", "shadows kept"}}),
        Request("POST", "/api/learn", {{"state", "hold"}}),
        Request("POST", "/api/slot", {{"name", "B"}}),
        Request("POST", "/api/keyer", {{"generation", "1"}}),
        Request("POST", "/api/range", {{"in", "0"}, {"out", "1"}}),
    };
    for (const HTTP_REQUEST& request : arrRequests)
    {
        SCOPED_TRACE(request.strPath + (request.vecQuery.empty() ? "" : " " + request.vecQuery[0].second));
        int nPoints = 0, nFailed = 0;
        for (const uint64_t nCount : {uint64_t{1}, uint64_t{1} << 40})
        {
            uint64_t nFirst = 1;
            for (bool bRefused = true; bRefused && !HasFailure(); nFirst += 1 + nFirst / 12) // all of the first ones
            {
                Begin();
                AllocFault_Set(nFirst, nCount);
                const int nStatus = Ask(request);
                bRefused = AllocFault_End() > 0;
                nPoints += bRefused;
                nFailed += nStatus != 200;
                EXPECT_TRUE(nStatus == 200 || bRefused) << m_strAnswer;
                ExpectInLine();
            }
            EXPECT_FALSE(HasFailure()) << "allocation " << nFirst << ", " << nCount << " refused";
        }
        std::printf("%-4s %-12s %-6s %4d points: %4d failed cleanly\n", request.strMethod.c_str(),
                    request.strPath.c_str(), request.vecQuery.empty() ? "" : request.vecQuery[0].second.c_str(),
                    nPoints, nFailed);
    }
}

TEST_F(CFaultsUiTest, JobsWithoutMemoryOrThreadsSaySo)
{
    Begin();
    EXPECT_TRUE(Job() && IsDone()) << m_strAnswer;
    int nPoints = 0, nFailed = 0;
    for (const uint64_t nCount : {1, 40})
        for (uint64_t nFirst = 1; nFirst < 4000 && !HasFailure(); nFirst += 1 + nFirst / 6)
        {
            std::filesystem::remove(m_folder.Path("out.y4m"));
            AllocFault_Set(nFirst, nCount);
            const bool bBegun = Job();
            nPoints += AllocFault_End() > 0;
            const bool bWritten = m_folder.Files() == 2;
            nFailed += !bWritten;
            EXPECT_TRUE(IsDone() == bWritten || (IsDone() && !bBegun)) << m_strAnswer; // then it is the job before
            EXPECT_EQ(m_folder.Files(), bWritten ? 2u : 1u);
        }
    std::printf("render: %d points, %d failed cleanly\n", nPoints, nFailed);
    int nThreads = 0;
    for (bool bRefused = true; bRefused; nThreads += bRefused)
    {
        Refuse_Thread(nThreads + 1);
        const bool bDone = Job() && IsDone();
        bRefused = Refuse_End();
        EXPECT_EQ(bDone, !bRefused) << m_strAnswer;
        ASSERT_LT(nThreads, 20);
    }
    std::printf("render: %d threads refused\n", nThreads);
}

} // namespace
