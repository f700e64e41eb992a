add_fuzz_target(fonts_pdf_cmap SOURCE fonts/pdf/CMapFuzz.cc USES fonts_pdf document pdf base)
add_fuzz_target(fonts_pdf_dictionary SOURCE fonts/pdf/DictionaryFuzz.cc USES fonts_pdf document pdf base)
add_fuzz_target(fonts_pdf_program SOURCE fonts/pdf/ProgramFuzz.cc USES fonts_pdf base)
