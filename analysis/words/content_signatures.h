#pragma once

#include "analysis/words/token_extraction.h"
#include "findings/signature_record.h"
#include "findings/trace_line.h"

// The signatures of the displayed text. Each reduces its words in another way, so that copies of one spam have values
// in common although no two of them are equal. Each generator appends its records and leaves the trace alone; none
// raises anything but std::bad_alloc.
namespace brimwarden::analysis {

// "tbd": digests of runs of folded tokens, the first four of more than 48 letters each. A text too short for one such
// run has one of all its tokens. `folded` is the folded form of `tokens`, one for one.
void generate_block_signatures(const folded_token_list& folded, const token_list& tokens, signature_list& signatures,
                               trace_list& trace);

// "tlc": whether the lengths of the folded tokens rise or fall, as the last 64 such changes at changes number 64, 96,
// 128 and so on. Four records at most, counting those that repeat a value because the next token changes nothing.
void generate_length_signatures(const folded_token_list& folded, signature_list& signatures, trace_list& trace);

// "tsd": digests of the pattern in which the words repeat, whatever they are; of all words, of those that occur at
// least twice, and so on to at least eight times. A pattern needs eight different words and ten repetitions.
void generate_structure_signatures(const folded_token_list& folded, signature_list& signatures, trace_list& trace);

} // namespace brimwarden::analysis
