add_fuzz_target(document_copy SOURCE document/CopyFuzz.cc USES document pdf base)
add_fuzz_target(document_nametree SOURCE document/NameTreeFuzz.cc USES document pdf base)
add_fuzz_target(document_outline SOURCE document/OutlineFuzz.cc USES document pdf base)
