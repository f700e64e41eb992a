add_fuzz_target(pdf_parser SOURCE pdf/ParserFuzz.cc USES pdf base)
add_fuzz_target(pdf_file SOURCE pdf/FileFuzz.cc USES pdf base)
add_fuzz_target(pdf_security SOURCE pdf/SecurityFuzz.cc USES pdf base RUNS 300)
