add_fuzz_target(pdf_linearize SOURCE pdf/linearize/LinearizerFuzz.cc USES pdf_linearize pdf base)
