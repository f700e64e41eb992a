add_fuzz_target(images_objects SOURCE images/ImageFuzz.cc USES images images_color pdf base)
