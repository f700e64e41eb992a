add_fuzz_target(document_copy SOURCE document/CopyFuzz.cc USES document pdf base)
