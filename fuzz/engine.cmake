add_fuzz_target(engine_strip SOURCE engine/StripFuzz.cc USES engine document pdf base)
