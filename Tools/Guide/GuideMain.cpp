#include "Guide/Comparison.h"
#include "Guide/GuideRows.h"
#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/PictureFile.h"
#include "zkhost/Files/StandardError.h"

#include "Base/ZLog.h"

#include <cstdio>
#include <cstdlib>

// Makes the pictures of the keying guide, and the one that sets the keyer beside others.

namespace
{

void MakeAll(const std::string& _strFolder)
{
    CZOutFiles files;
    files.MakeFolder(_strFolder);
    for (const std::string& strSheet : GuideRows_Sheets())
    {
        std::vector<std::vector<GUIDE_TILE>> vecRows;
        for (const GUIDE_ROW& row : GuideRows_All())
            if (strSheet == row.pszSheet)
                vecRows.push_back(GuideRow_Tiles(row));
        PictureFile_WritePng(GuideSheet_Draw(vecRows), files.Create(ZFormat("%s/guide-%s.png", _strFolder, strSheet)));
    }
    files.CommitAll();
}

void Compare(char** _ppszArgs)
{
    CZOutFiles files;
    CZOutFile& file = files.Create(_ppszArgs[3]);
    PictureFile_WritePng(Comparison_Draw(_ppszArgs[0], _ppszArgs[1], std::atoi(_ppszArgs[2])), file);
    files.CommitAll();
}

} // namespace

int main(int _nArgs, char** _ppszArgs)
{
    if (_nArgs != 2 && _nArgs != 5)
    {
        std::fprintf(stderr, "usage: zkguide FOLDER, or zkguide CLIP TRUTH FRAME PICTURE\n");
        return 2;
    }
    try
    {
        StandardError_LogSet(eZLog_Error);
        if (_nArgs == 2)
            MakeAll(_ppszArgs[1]);
        else
            Compare(_ppszArgs + 1);
        return 0;
    }
    catch (const std::exception& ex)
    {
        std::fprintf(stderr, "zkguide: %s\n", ex.what());
        return 1;
    }
}
