#include "zkhost/Commands/Commands.h"

#include "zkhost/Files/OutFile.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Image/ImgRowReader.h"

namespace
{

constexpr const char* c_pszPixelHead =
    "name\tcode\tbits_per_pixel\trgb\tplanar\trow_size_known\tsubsampling_1\tsubsampling_2\tkeyed\town\n";
constexpr const char* c_pszVideoHead =
    "index\tname\tenum\trate_num\trate_den\tinterlace\twidth\theight\taspect_x\taspect_y\tsize_class\textra_lines\n";

const char* YesNo(bool _bYes)
{
    return _bYes ? "yes" : "no";
}

std::string PixelFormats()
{
    std::string strText = c_pszPixelHead;
    for (const PIXEL_FORMAT& info : FCC_All())
    {
        const auto& [sz1, sz2] = info.arrSubsampling;
        strText += ZFormat("%s\t0x%08X\t%d\t%s\t%s\t%s\t%dx%d\t%dx%d\t%s\t%s\n", info.pszName, info.fccType,
                           info.nBitsPerPixel, YesNo(info.bRGB), YesNo(info.bPlanar), YesNo(info.bRowSize), sz1.cx,
                           sz1.cy, sz2.cx, sz2.cy, YesNo(Img_IsReadable(info.fccType)), YesNo(info.bOwn));
    }
    return strText;
}

std::string VideoFormats()
{
    std::string strText = c_pszVideoHead;
    for (const VIDEO_FORMAT& info : VidFormat_All())
        strText += ZFormat("%d\t%s\t%s\t%d\t%d\t%d\t%d\t%d\t%d\t%d\t%d\t%d\n", info.eVideoFormat, info.pszName,
                           info.pszEnum, info.nRate, info.nRateBase, info.eInterlace, info.nWidth, info.nHeight,
                           info.nAspectX, info.nAspectY, info.nSizeClass, info.nExtraLines);
    return strText;
}

} // namespace

void Command_AddFormats(CLI::App& _app)
{
    CLI::App& command = *_app.add_subcommand(
        "formats", "The pixel formats and the video formats, tab-separated, each table with a header line");
    command.footer("Examples:\n"
                   "  zkhost formats\n"
                   "  zkhost formats | awk -F'\\t' '$2 == \"PAL\"'\n");
    command.callback([] { OutFile_Print(PixelFormats() + "\n" + VideoFormats()); });
}
