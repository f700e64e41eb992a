add_fuzz_target(fonts_installed_cache SOURCE fonts/installed/CacheFuzz.cc USES fonts_installed base)
add_fuzz_target(fonts_installed_file SOURCE fonts/installed/FileFuzz.cc USES fonts_installed base)
