// From the displayed text to its signatures, with the bytes as units of text and the first one as choice of the mode.
#include "analysis/words/content_signatures.h"
#include "analysis/words/token_extraction.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

using namespace brimwarden::analysis;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    tackle::wstring text((size - 1) / sizeof(char16_t), u'\0');
    std::memcpy(text.data(), data + 1, text.size() * sizeof(char16_t));
    token_list tokens;
    folded_token_list folded;
    signature_list signatures;
    test_result_list results;
    trace_list trace;
    normalise_text(text);
    tokenise(text, tokens, data[0] % 2 == 0 ? word_mode : dot_mode);
    fold_tokens(tokens, folded);
    generate_block_signatures(folded, tokens, signatures, trace);
    generate_length_signatures(folded, signatures, trace);
    generate_structure_signatures(folded, signatures, trace);
    check_diagnostics(text, results);
    if (folded.size() != tokens.size() || signatures.size() > 4 + 4 + 8) std::abort();
    return 0;
}
