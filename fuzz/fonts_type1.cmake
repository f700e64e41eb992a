add_fuzz_target(fonts_type1 SOURCE fonts/type1/PFBFuzz.cc USES fonts_cff fonts_type1 base)
