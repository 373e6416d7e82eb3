# Writes the template of the page, with its style, its script and their hashes, as a constant:
# cmake -D OUTPUT=FILE -P embed.cmake

# Base64 of the 64 hexadecimal digits of a SHA-256 hash.
function(base64_of_hash result digits)
  set(alphabet "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")
  set(text "")
  foreach(at RANGE 0 60 6) # 24 bits are four letters
    string(SUBSTRING ${digits}00 ${at} 6 group)
    foreach(shift 18 12 6 0)
      math(EXPR index "0x${group} >> ${shift} & 63")
      string(SUBSTRING ${alphabet} ${index} 1 letter)
      string(APPEND text ${letter})
    endforeach()
  endforeach()
  string(REGEX REPLACE ".$" "=" text ${text}) # for the added byte
  set(${result} ${text} PARENT_SCOPE)
endfunction()

file(READ ${CMAKE_CURRENT_LIST_DIR}/page.html page)
foreach(part css js)
  set(file ${CMAKE_CURRENT_LIST_DIR}/page.${part})
  file(READ ${file} content)
  file(SHA256 ${file} digits)
  base64_of_hash(hash ${digits})
  string(REPLACE "{{hash of ${part}}}" "sha256-${hash}" page "${page}")
  string(REPLACE "{{${part}}}" "${content}" page "${page}")
endforeach()
file(WRITE ${OUTPUT} "// Made from the files in tools/ocmd_show/page.
#include \"tools/ocmd_show/page.h\"

namespace show {

const std::string_view kPageTemplate = R\"page(${page})page\";

} // namespace show
")
