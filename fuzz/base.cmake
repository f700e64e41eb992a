add_fuzz_target(base_inifile SOURCE base/IniFileFuzz.cc USES base)
add_fuzz_target(base_text SOURCE base/TextFuzz.cc USES base)
