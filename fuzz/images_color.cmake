add_fuzz_target(images_color_functions SOURCE images/color/FunctionFuzz.cc USES images_color pdf base)
add_fuzz_target(images_color_spaces SOURCE images/color/ColorSpaceFuzz.cc USES images_color pdf base)
add_fuzz_target(images_color_profiles SOURCE images/color/ProfileFuzz.cc USES images_color base RUNS 200)
