# Writes SOURCE, which holds the files REGULAR and BOLD as arrays.
function(array name file)
  file(READ ${file} digits HEX)
  string(REGEX REPLACE "(..)" "0x\\1," bytes "${digits}")
  file(APPEND ${SOURCE} "const unsigned char ${name}[] = {${bytes}};\n")
endfunction()
file(WRITE ${SOURCE} "#include \"face/font_data.h\"\nnamespace quellard {\nnamespace {\n")
array(kRegular ${REGULAR})
array(kBold ${BOLD})
file(APPEND ${SOURCE} "}  // namespace\n
const unsigned char* fontData(FontFace face) {
  return face == FontFace::bold ? kBold : kRegular;
}
}  // namespace quellard\n")
