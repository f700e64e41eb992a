add_fuzz_target(engine_strip SOURCE engine/StripFuzz.cc USES engine document pdf base)
add_fuzz_target(engine_shrink SOURCE engine/ShrinkFuzz.cc USES engine document pdf base)
add_fuzz_target(engine_images SOURCE engine/ImagesFuzz.cc USES engine document pdf base)
add_fuzz_target(engine_fonts SOURCE engine/FontsFuzz.cc USES engine fonts_pdf document pdf base)
