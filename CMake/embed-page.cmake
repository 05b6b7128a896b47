# Makes a C++ source of the files of the page: cmake -DFOLDER=... -DOUT=... -P embed-page.cmake
file(GLOB files RELATIVE ${FOLDER} ${FOLDER}/*.html ${FOLDER}/*.css ${FOLDER}/*.js ${FOLDER}/*.svg)
set(types_html "text/html; charset=utf-8")
set(types_css "text/css; charset=utf-8")
set(types_js "text/javascript; charset=utf-8")
set(types_svg "image/svg+xml")
set(arrays "")
set(rows "")
set(number 0)
foreach(file ${files})
  file(READ ${FOLDER}/${file} bytes HEX)
  string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
  string(REGEX REPLACE "(................................................................................)" "\\1\n" bytes "${bytes}")
  string(REGEX REPLACE ".*\\." "" extension ${file})
  string(APPEND arrays "constexpr unsigned char c_arrFile${number}[] = {\n${bytes}0};\n") # the last byte is not counted
  set(path "/${file}")
  if(file STREQUAL index.html)
    set(path "/")
  endif()
  string(APPEND rows "    {\"${path}\", \"${types_${extension}}\", {reinterpret_cast<const char*>(c_arrFile${number}), sizeof(c_arrFile${number}) - 1}},\n")
  math(EXPR number "${number} + 1")
endforeach()
file(WRITE ${OUT} "// Made by CMake/embed-page.cmake of the files in Host/zkhost/Ui/Page.
#include \"zkhost/Ui/PageFiles.h\"

namespace
{

${arrays}
} // namespace

const PAGE_FILE* PageFiles_Find(std::string_view _svPath)
{
  static const PAGE_FILE s_arrFiles[] = {
${rows}  };
  for (const PAGE_FILE& file : s_arrFiles)
    if (file.svPath == _svPath)
      return &file;
  return nullptr;
}
")
