add_fuzz_target(images_filters_jpx SOURCE images/filters/JPXFuzz.cc USES images_filters_jpx images_filters base)
