add_fuzz_target(metadata_packet SOURCE metadata/PacketFuzz.cc USES metadata base)
