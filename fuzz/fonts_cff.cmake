add_fuzz_target(fonts_cff SOURCE fonts/cff/CFFFuzz.cc USES fonts_cff base)
