#include "Props/TempFile.h"
#include "Props/TextFile.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace
{

namespace fs = std::filesystem;

class TempFileTest : public testing::Test
{
protected:
    void SetUp() override
    {
        const auto nTime = std::chrono::steady_clock::now().time_since_epoch().count();
        m_pathFolder = fs::temp_directory_path() / ("zck-temp-file-" + std::to_string(nTime));
        fs::create_directories(m_pathFolder);
    }
    void TearDown() override
    {
        std::error_code err;
        fs::remove_all(m_pathFolder, err);
    }
    std::string Path(std::u8string_view _svName) const
    {
        const std::u8string strPath = (m_pathFolder / _svName).u8string();
        return {strPath.begin(), strPath.end()};
    }
    static std::string Read(const std::string& _strPath)
    {
        std::string strText, strReason;
        EXPECT_TRUE(TextFile_Read(_strPath, 100, &strText, &strReason)) << strReason;
        return strText;
    }
    int64_t Files() const
    {
        return std::distance(fs::directory_iterator(m_pathFolder), fs::directory_iterator());
    }

private:
    fs::path m_pathFolder;
};

TEST_F(TempFileTest, ShowsItsNameOnlyWhenItIsCommitted)
{
    const std::string strPath = Path(u8"k\u00FCrbis \u6728.bin");
    {
        CTempFile file, second;
        ASSERT_TRUE(file.Open(strPath) && second.Open(strPath)) << "writers of one name do not meet before they commit";
        EXPECT_TRUE(file.Write("one ") && second.Write("other") && file.Write("two"));
        EXPECT_FALSE(fs::exists(File_Path(strPath)) || file.IsInPlace());
        EXPECT_EQ(Files(), 2);
        EXPECT_TRUE(file.Commit()) << file.Reason();
        EXPECT_EQ(Read(strPath), "one two");
        EXPECT_TRUE(second.Close()) << second.Reason();
    }
    EXPECT_EQ(Read(strPath), "one two") << "closed and not committed";
    EXPECT_EQ(Files(), 1);
}

TEST_F(TempFileTest, SaysWhyItCannotBeMade)
{
    CTempFile folder, nowhere;
    EXPECT_FALSE(folder.Open(Path(u8".")));
    EXPECT_EQ(folder.Reason(), "it is a folder; name a file in it");
    EXPECT_FALSE(nowhere.Open(Path(u8"none/a.bin")));
    EXPECT_NE(nowhere.Reason().find("; check that its folder exists"), std::string::npos) << nowhere.Reason();
    EXPECT_EQ(Files(), 0);
}

#if defined(__linux__)
TEST_F(TempFileTest, SaysThatTheDiskIsFull)
{
    CTempFile file;
    ASSERT_TRUE(file.Open("/dev/full") && file.IsInPlace());
    EXPECT_TRUE(file.Write("few bytes wait in the buffer"));
    EXPECT_FALSE(file.Commit());
    EXPECT_EQ(file.Reason(), "No space left on device");
}
#endif

} // namespace
