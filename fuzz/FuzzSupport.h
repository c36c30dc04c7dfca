// SPDX-License-Identifier: MIT
#pragma once

// What every decoding fuzzer checks: a document either fails with DecodingError or decodes to a
// record whose encoding decodes back to an equal record and encodes to the same bytes again.
// Any other exception escapes to libFuzzer, which reports it as a crash; so does a mismatch.

#include <quelm/WireFormat.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace quelm::fuzz {

[[noreturn]] inline void fail(const char* what)
{
    std::fprintf(stderr, "round trip broken: %s\n", what);
    std::abort();
}

inline std::string_view text(const std::uint8_t* data, std::size_t size)
{
    return { reinterpret_cast<const char*>(data), size };
}

template<class Record>
void checkRoundTrip(std::string_view document)
{
    std::optional<Record> decoded;
    try {
        decoded = decode<Record>(document);
    } catch (const DecodingError&) {
        return;
    }
    // What we accepted we must be able to write back: a reader must never hold a record that the
    // other side could not have produced.
    const std::string encoded = encode(*decoded);
    const auto again = decode<Record>(encoded);
    if (!(again == *decoded))
        fail("the re-encoded document decodes to another value");
    if (encode(again) != encoded)
        fail("encoding the same value twice gives different bytes");
}

}
