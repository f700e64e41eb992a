add_fuzz_target(fonts_ttf SOURCE fonts/ttf/TTFFuzz.cc USES fonts_ttf base)
