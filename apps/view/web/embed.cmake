# Writes the viewer's page files into a C++ source as byte arrays, so the
# binary serves them without reading anything at run time.
# cmake -DOUT=file.cpp -DDIR=apps/view/web -DFILES=index.html,view.css,view.js -P embed.cmake
string(REPLACE "," ";" FILES "${FILES}")
set(body "")
set(table "")
set(i 0)
foreach(name IN LISTS FILES)
  file(READ "${DIR}/${name}" hex HEX)
  string(LENGTH "${hex}" chars)
  math(EXPR bytes "${chars} / 2")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," hex "${hex}")
  string(APPEND body "const unsigned char kAsset${i}[] = {${hex} 0};\n")
  if(name MATCHES "\\.html$")
    set(type "text/html; charset=utf-8")
  elseif(name MATCHES "\\.js$")
    set(type "text/javascript; charset=utf-8")
  elseif(name MATCHES "\\.css$")
    set(type "text/css; charset=utf-8")
  else()
    message(FATAL_ERROR "no content type for ${name}")
  endif()
  string(APPEND table "    {\"/${name}\", \"${type}\", kAsset${i}, ${bytes}},\n")
  math(EXPR i "${i} + 1")
endforeach()
set(text "// Generated from apps/view/web by embed.cmake; edit the files there.
#include \"view/view_assets.hpp\"

namespace kalviro::cli {

namespace {
${body}}  // namespace

const ViewAsset kViewAssets[] = {
${table}};
const size_t kViewAssetCount = ${i};

}  // namespace kalviro::cli
")
file(WRITE "${OUT}.tmp" "${text}")
file(COPY_FILE "${OUT}.tmp" "${OUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUT}.tmp")
