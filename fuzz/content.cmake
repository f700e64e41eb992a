add_fuzz_target(content_parser SOURCE content/ParserFuzz.cc USES content document images_color pdf base)
