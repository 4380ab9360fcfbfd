#include "analysis/analysis_engine.h"

#include <gtest/gtest.h>

namespace {

using namespace brimwarden::analysis;
using tackle::wstring;
using tackle::internet::message2::part;

class classify : public testing::Test {
protected:
    const part message_ = part(tackle::string_view());
    scan_context scan_{message_};

    signature_record& add(const char16_t* type, std::uint64_t reports, std::uint64_t revokes) {
        scan_.signatures.emplace_back(type, u"v");
        auto& record = scan_.signatures.back();
        record.matched = true;
        record.reports = reports;
        record.revokes = revokes;
        return record;
    }
    test_result& find(float value) { return scan_.test_results.emplace_back(u"Test", value); }

    // The lines of one block, each behind its depth.
    std::vector<wstring> block(tackle::wstring_view heading) const {
        std::vector<wstring> lines;
        bool inside = false;
        for (std::size_t i = 0; i < scan_.trace.size(); ++i) {
            const auto line = scan_.trace[i];
            if (line.indent == 0)
                inside = line.text == heading;
            else if (inside)
                lines.emplace_back(line.text);
        }
        return lines;
    }
};

struct weighed {
    const char16_t* type;
    std::uint64_t reports, revokes;
    float relevance, weight, value; // value: points of the signature's finding
};

TEST_F(classify, turns_counts_into_points) {
    const struct {
        const char* label;
        std::vector<weighed> signatures;
        float probability;
    } cases[] = {
        {"only reports", {{u"tbd", 3, 0, 100, 100, 100}}, 100},
        {"only revokes", {{u"tbd", 0, 3, 0, 100, 0}}, 0},
        {"neither", {{u"tbd", 0, 0, 0, 100, 0}}, 0},
        {"a revoke is worth eight reports", {{u"tlc", 8, 1, 50, 100, 50}}, 50},
        {"the largest counts do not wrap",
         {{u"tbd", 0x8000000000000000, 0x8000000000000000, 100.0F / 9, 100, 100.0F / 9}},
         100.0F / 9},
        {"an unknown link has no weight", {{u"tru", 0, 0, 0, 0, 0}}, 0},
        {"a link of relevance 60", {{u"tru", 12, 1, 60, 100, 60}}, 60},
        {"a link below it", {{u"tru", 119, 10, 11900.0F / 199, 0, 0}}, 0},
        {"an address of relevance 60", {{u"hsi", 12, 1, 60, 40, 24}}, 24},
        {"an address below it", {{u"hsi", 119, 10, 11900.0F / 199, 0, 0}}, 0},
        {"a lone address keeps its weight", {{u"hsi", 1, 0, 100, 40, 40}}, 40},
        {"two share a hundred", {{u"tbd", 4, 0, 100, 100, 50}, {u"prd", 8, 1, 50, 100, 25}}, 75},
        {"an address beside a text",
         {{u"hsi", 1, 0, 100, 40, 40 * 100.0F / 140}, {u"tbd", 1, 0, 100, 100, 100 * 100.0F / 140}},
         100},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        scan_.signatures.clear();
        scan_.test_results.clear();
        for (const auto& signature : c.signatures)
            add(signature.type, signature.reports, signature.revokes);
        analysis_engine::classify(scan_);
        ASSERT_EQ(scan_.test_results.size(), c.signatures.size());
        for (std::size_t i = 0; i < c.signatures.size(); ++i) {
            EXPECT_FLOAT_EQ(scan_.signatures[i].relevance, c.signatures[i].relevance);
            EXPECT_FLOAT_EQ(scan_.signatures[i].weight, c.signatures[i].weight);
            EXPECT_FLOAT_EQ(scan_.test_results[i].value, c.signatures[i].value);
        }
        EXPECT_FLOAT_EQ(scan_.probability, c.probability);
    }
}

TEST_F(classify, explains_signatures) {
    add(u"hsi", 12, 1).value = u"198.51.100.7";
    auto& counted = add(u"tbd", 0xFFFFFFFFFFFFFFFF, 0);
    counted.id = 0xFFFFFFFFFFFFFFFE;
    counted.touches = 5;
    auto& both = add(u"prd", 1, 0);
    both.ignored = both.whitelisted = true;
    both.reports = 7;
    add(u"tlc", 1, 0).ignored = true;
    add(u"toolongtag", 0, 0).blacklisted = true;
    scan_.signatures.emplace_back(u"tsd", u"unknown");
    analysis_engine::classify(scan_);

    // The weights 40, 100 and the black one's 100 come to 240; ignored ones have none.
    EXPECT_EQ(block(u"Matched Signatures:"),
              (std::vector<wstring>{
                  u"hsi 198.51.100.7 -- ID: 0, State: Normal, Reports: 12, Revokes: 1, Touches: 0",
                  u"tbd v -- ID: -2, State: Normal, Reports: -1, Revokes: 0, Touches: 5",
                  u"prd v -- ID: 0, State: Whitelisted, Reports: 7, Revokes: 0, Touches: 0",
                  u"tlc v -- ID: 0, State: Ignored, Reports: 1, Revokes: 0, Touches: 0",
                  u"toolon v -- ID: 0, State: Blacklisted, Reports: 0, Revokes: 0, Touches: 0",
              }));
    EXPECT_EQ(block(u"Test Results:"),
              (std::vector<wstring>{
                  u"10.00  Signature.Matched -- Signature: hsi 198.51.100.7, Relevance: 60.00, Weight: 16.67",
                  u"41.67  Signature.Matched -- Signature: tbd v, Relevance: 100.00, Weight: 41.67",
                  u"0.00   Signature.Whitelisted -- Signature: prd v",
                  u"0.00   Signature.Blacklisted -- Signature: toolon v",
              }));
    EXPECT_EQ(block(u"Overall Classification:"), std::vector<wstring>{u"Spam Probability: 0.00"});
}

TEST_F(classify, walks_the_findings_with_state) {
    constexpr float white = 1000, black = 2000; // stand for the flags
    const struct {
        const char* label;
        std::vector<float> findings;
        float probability;
    } cases[] = {
        {"none", {}, 0},
        {"a sum", {10, 7.5F, 20.49F}, 37.99F},
        {"above the limit", {100, 40.5F}, 100},
        {"below the limit", {-5}, 0},
        {"limits count at the end only", {90, 60, -70}, 80},
        {"white takes all before it", {90, white}, 0},
        {"and all behind it", {white, 90}, 0},
        {"black sets a hundred", {5, black}, 100},
        {"and no points count behind it", {black, -30}, 100},
        {"white behind black", {black, white, 5}, 0},
        {"black behind white", {white, black, 5}, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        scan_.test_results.clear();
        for (const float points : c.findings) {
            auto& result = find(points >= white ? 0.0F : points);
            result.whitelist = points == white;
            result.blacklist = points == black;
        }
        analysis_engine::classify(scan_);
        EXPECT_FLOAT_EQ(scan_.probability, c.probability);
    }
}

TEST_F(classify, leaves_out_blocks_that_would_be_empty) {
    scan_.signatures.emplace_back(u"tbd", u"unknown");
    analysis_engine::classify(scan_);
    ASSERT_EQ(scan_.trace.size(), 3U);
    EXPECT_EQ(scan_.trace[0].text, u"");
    EXPECT_EQ(scan_.trace[1].text, u"Overall Classification:");
    EXPECT_EQ(scan_.trace[2].text, u"Spam Probability: 0.00");
}

} // namespace
