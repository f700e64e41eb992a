add_fuzz_target(base_inifile SOURCE base/IniFileFuzz.cc USES base)
