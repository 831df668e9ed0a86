// SPDX-License-Identifier: Zlib
// The search for directives, in both of its widths, against the plainest of means. A host meets
// only the one that suits its processor.

#include "graphics/shader_scan.h"

#include "support/guarded_text.h"
#include "support/plain_scan.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using namespace halvorin;

// Texts of all lengths around the blocks that the search goes by. They end where memory ends.
TEST(ShaderScanTest, FindsDirectivesWhereverTheyStandAndReadsNothingBehindTheText) {
    const std::string_view pieces[] = {"#vertex\n", "#fragment ", "#geometry\t", "#vertex",
                                       "#fragment", "#geometry",  "#",           "#v",
                                       "#w",        "#if x\n",    "a",           "}\r\n"};
    const bool has_wide = __builtin_cpu_supports("avx2");
    guarded_text text("");
    std::mt19937 random(7);
    for (int round = 0; round < 20000; ++round) {
        std::string source(random() % 70, '.');
        for (auto count = random() % 12; count > 0; --count) {
            source += pieces[random() % std::size(pieces)];
            source.append(random() % 4 == 0 ? random() % 130 : 0, '-');
        }
        const Slice given = text.assign(source);
        for (int wide = 0; wide <= has_wide; ++wide) {
            const shader_texts found = split_stages(static_cast<char*>(given.data),
                                                    static_cast<i32>(given.count), wide != 0);
            const plain_scan::stages expected = plain_scan::split_plainly(source);
            for (size_t i = 0; i < shader_stages; ++i) {
                ASSERT_EQ(
                    std::string_view(found.of[i].data, static_cast<size_t>(found.of[i].length)),
                    expected[i])
                    << source;
            }
        }
    }
    if (!has_wide) GTEST_SKIP() << "the processor has no AVX2: the wide search wasn't tried";
}
