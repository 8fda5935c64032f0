// Searches of ternary memories by index: the same hits in the same order as a walk over the rows, whatever the rows and
// whatever is written between two searches.

#include "cmTcamIdx.h"

#include "base/cmLu.h"
#include "base/cmRteState.h"
#include "base/cmTcamIdxs.h"
#include "mem_reg_class.h"
#include "tfe/cmTfe.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <vector>

namespace {

/// Rows by chance, an X half and a Y half of `words` words each: of few masks or many, some of them equal, some that
/// never match, some that always do.
class Rows {
public:
    Rows(uint64_t seed, uint32_t rowCnt, uint32_t words_)
        : random(seed), words(words_), mem(size_t{rowCnt} * 2 * words_) {
        masks.resize(1 + random() % 6);
        for (auto &mask : masks) {
            for (uint32_t w = 0; w < words; w++)
                mask.push_back(random() % 3 ? 3u << random() % 31 : 0);
        }
        for (uint32_t row = 0; row < rowCnt; row++)
            write(row);
    }

    uint32_t count() const { return static_cast<uint32_t>(mem.size() / (2 * words)); }

    /// Writes a row anew.
    void write(uint32_t row) {
        uint32_t *x = &mem[size_t{row} * 2 * words], *y = x + words;
        const auto &mask = masks[random() % masks.size()];
        for (uint32_t w = 0; w < words; w++) {
            const uint32_t bits = static_cast<uint32_t>(random());
            x[w] = mask[w] & bits;
            y[w] = mask[w] & ~bits;
        }
        if (random() % 16 == 0)
            x[random() % words] = y[random() % words] = ~0u;
        if (random() % 64 == 0)
            std::fill_n(x, 2 * words, 0);
    }

    std::vector<uint32_t> key() {
        std::vector<uint32_t> bits(words);
        for (uint32_t &word : bits)
            word = static_cast<uint32_t>(random());
        return bits;
    }

    bool matches(uint32_t row, const std::vector<uint32_t> &bits) const {
        const uint32_t *x = &mem[size_t{row} * 2 * words], *y = x + words;
        for (uint32_t w = 0; w < words; w++) {
            for (uint32_t b = 0; b < 32; b++) {
                const bool one = x[w] >> b & 1, zero = y[w] >> b & 1, is = bits[w] >> b & 1;
                if ((one && zero) || (one && !is) || (zero && is))
                    return false;
            }
        }
        return true;
    }

    std::vector<uint32_t> hits(const std::vector<uint32_t> &bits) const {
        std::vector<uint32_t> found;
        for (uint32_t row = 0; row < count(); row++) {
            if (matches(row, bits))
                found.push_back(row);
        }
        return found;
    }

    std::mt19937_64 random;
    uint32_t words;
    std::vector<std::vector<uint32_t>> masks;
    std::vector<uint32_t> mem;
};

/// While it lives, the searches of the thread may index `memory`.
class Indexed {
public:
    explicit Indexed(std::span<const uint32_t> memory) : idxs({memory}) {
        state->idxs = &idxs;
        state->out.toStdio = false;
        cmRteState = state.get();
    }
    ~Indexed() { cmRteState = nullptr; }
    Indexed(const Indexed &) = delete;
    Indexed &operator=(const Indexed &) = delete;

    std::unique_ptr<CmRteState> state = std::make_unique<CmRteState>();
    CmTcamIdxs idxs;
};

TEST(TcamIdx, FindsWhatAWalkFinds) {
    for (uint64_t seed = 1; seed <= 60; seed++) {
        Rows rows(seed, static_cast<uint32_t>(1 + seed * 11 % 400), static_cast<uint32_t>(1 + seed % 16));
        const CmTcamIdx idx(rows.count(), rows.words, [&](uint32_t i, CmTcamIdx::Row &row) {
            const uint32_t *x = &rows.mem[size_t{i} * 2 * rows.words], *y = x + rows.words;
            bool live = true;
            for (uint32_t w = 0; w < rows.words; w++) {
                row.want[w] = x[w];
                row.care[w] = x[w] | y[w];
                live = live && (x[w] & y[w]) == 0;
            }
            return live;
        });
        if (rows.count() < 64)
            continue; // may not be worth it
        ASSERT_TRUE(idx.isWorth());
        for (int i = 0; i < 50; i++) {
            const std::vector<uint32_t> key = rows.key(), wanted = rows.hits(key);
            std::vector<uint32_t> got;
            idx.all(key.data(), [&](uint32_t row) {
                got.push_back(row);
                return true;
            });
            ASSERT_EQ(got, wanted);
            ASSERT_EQ(idx.first(key.data()), wanted.empty() ? CmTcamIdx::kNone : wanted.front());
        }
    }
}

TEST(TcamIdx, IsNotWorthARowAMask) {
    std::mt19937 random(1);
    const CmTcamIdx idx(1000, 2, [&](uint32_t, CmTcamIdx::Row &row) {
        row.care[0] = row.want[0] = static_cast<uint32_t>(random());
        row.care[1] = row.want[1] = 0;
        return true;
    });
    EXPECT_FALSE(idx.isWorth());
}

/// Rows that all match every key would be a long way through one table.
TEST(TcamIdx, TakesManyEqualRows) {
    const CmTcamIdx idx(360448, 2, [](uint32_t, CmTcamIdx::Row &row) {
        row = {};
        return true;
    });
    const uint32_t key[2] = {1, 2};
    EXPECT_EQ(idx.first(key), 0u);
    uint32_t cnt = 0;
    idx.all(key, [&](uint32_t row) { return row == cnt++ && cnt < 2000; });
    EXPECT_EQ(cnt, 2000u);
}

TEST(TcamIdx, PlainMemoriesAreSearchedAlikeBetweenWrites) {
    for (const uint32_t words : {1u, 2u, 4u}) {
        for (uint64_t seed = 1; seed <= 20; seed++) {
            Rows rows(seed * 100 + words, 300, words);
            const Indexed indexed(rows.mem);
            for (int i = 0; i < 60; i++) {
                const std::vector<uint32_t> key = rows.key(), wanted = rows.hits(key);
                CmTcamTbl tbl;
                tbl.tcam = rows.mem;
                tbl.tcamSiz = rows.count();
                tbl.rsltUnkIdx = 0x5555;
                CmTcamSetKey(&tbl, key.data(), words);
                CmTcamLu(&tbl);
                ASSERT_EQ(std::vector<uint32_t>(tbl.hitList, tbl.hitList + tbl.hitCount), wanted);
                ASSERT_EQ(tbl.tcamHit, !wanted.empty());
                ASSERT_EQ(tbl.rsltIdx, wanted.empty() || words == 1 ? 0x5555 : wanted.front());
                CmTcamLu1Hot(&tbl);
                ASSERT_EQ(tbl.tcamHit, !wanted.empty());
                ASSERT_EQ(tbl.rsltIdx, wanted.empty() ? 0x5555 : wanted.front());
                if (i % 5 == 4) {
                    const auto row = static_cast<uint32_t>(rows.random() % rows.count());
                    cmState().idxs->written(&rows.mem[size_t{row} * 2 * words], 2 * words);
                    rows.write(row);
                }
            }
        }
    }
}

TEST(TcamIdx, AnOverflowTcamIsSearchedAlike) {
    for (uint64_t seed = 1; seed <= 20; seed++) {
        Rows rows(seed, 256, 16);
        const Indexed indexed(rows.mem);
        for (int i = 0; i < 30; i++) {
            const std::vector<uint32_t> key = rows.key(), wanted = rows.hits(key);
            CmExmTbl tbl;
            tbl.hshKeySiz = 512;
            CmExmSetKey(&tbl, key.data(), 16);
            tbl.hshBktTotal = 8;
            tbl.hshBktSiz = 64;
            tbl.tcam = rows.mem;
            tbl.tcamSiz = rows.count();
            tbl.rsltUnkIdx = 0x5555;
            CmExmLu(&tbl);
            ASSERT_EQ(tbl.tcamHit, !wanted.empty());
            ASSERT_EQ(tbl.rsltIdx, wanted.empty() ? 0x5555 : 512 - 256 + wanted.front());
        }
    }
}

/// A part of a memory is another memory to the index, and so is one that the model does not own.
TEST(TcamIdx, PartsAndForeignMemoriesAreSearchedAlike) {
    Rows rows(7, 400, 2);
    const std::vector<uint32_t> foreign = rows.mem;
    const Indexed indexed(rows.mem);
    for (int i = 0; i < 40; i++) {
        const std::vector<uint32_t> key = rows.key(), wanted = rows.hits(key);
        for (const uint32_t first : {0u, 100u}) {
            CmTcamTbl tbl;
            tbl.tcam = CmLuMem(i % 2 ? foreign : rows.mem).subspan(size_t{first} * 4, 100 * 4);
            tbl.tcamSiz = 100;
            CmTcamSetKey(&tbl, key.data(), 2);
            CmTcamLu(&tbl);
            std::vector<uint32_t> part;
            for (const uint32_t row : wanted) {
                if (row >= first && row < first + 100)
                    part.push_back(row - first);
            }
            ASSERT_EQ(std::vector<uint32_t>(tbl.hitList, tbl.hitList + tbl.hitCount), part);
        }
    }
}

/// Every way to write an ACL TCAM, between searches.
TEST(TcamIdx, AclTcamsAreSearchedAlikeBetweenWrites) {
    MemoryDefinition def;
    def.name = "T";
    def.memSize = 512;
    static const char *const names[] = {"a", "b", "c", "d", "e", "f", "g", "h"};
    for (unsigned w = 0; w < 8; w++)
        def.addField(names[w], 32, 32 * w, w);
    for (uint64_t seed = 1; seed <= 10; seed++) {
        Rows rows(seed, 512, 8);
        EmbeddedTcam tcam(&def, nullptr, nullptr);
        const auto put = [&](uint32_t row) {
            // The X half of a row asks for ones as the first of the pair does here.
            tcam.writeXYRaw(row, &rows.mem[size_t{row} * 16], &rows.mem[size_t{row} * 16 + 8]);
        };
        for (uint32_t row = 0; row < 512; row++)
            put(row);
        std::vector<int> hits;
        for (int i = 0; i < 80; i++) {
            const std::vector<uint32_t> key = rows.key(), wanted = rows.hits(key);
            tcam.doLookup(key.data(), hits);
            ASSERT_EQ(std::vector<uint32_t>(hits.begin(), hits.end()), wanted);
            const auto row = static_cast<uint32_t>(rows.random() % 512);
            uint32_t *x = &rows.mem[size_t{row} * 16];
            switch (i % 10) {
            case 3:
                rows.write(row);
                put(row);
                break;
            case 5: {
                rows.write(row);
                M_T y(8), xLine(8);
                for (unsigned w = 0; w < 8; w++) {
                    y[w].u32 = x[w];
                    xLine[w].u32 = x[8 + w];
                }
                ASSERT_EQ(tcam.writeXYAt(row, y, xLine, false, false), 0);
                break;
            }
            case 7:
                x[0] = tcam.pMemXY->word(2 * row, 0) = 0;
                x[8] = tcam.pMemXY->word(2 * row + 1, 0) = 0;
                break;
            case 9:
                tcam.fill(0, 64 * 3); // three entries that match any key
                std::fill_n(rows.mem.begin(), 48, 0);
                break;
            }
        }
    }
}

/// Banks that are on, their protocols, and writes between the searches.
TEST(TcamIdx, PrefixesAreSearchedAlikeBetweenWrites) {
    const auto engine = std::make_unique<CmTfeLue>();
    engine->comReg = {};
    std::mt19937_64 random(3);
    auto &tcam = engine->mem.TFE_TCAM;
    for (uint32_t &word : tcam)
        word = 0xffffffff; // an entry that never matches
    for (uint32_t &word : engine->mem.TFE_AMAP)
        word = static_cast<uint32_t>(random()) & 0xffffff;
    const auto write = [&] {
        const bool wide = random() % 2;
        const uint32_t words = wide ? 8 : 2;
        const size_t row = random() % (std::size(tcam) / (2 * words));
        for (uint32_t w = 0; w < words; w++) {
            const uint32_t care = random() % 2 ? 0 : 0x3, want = static_cast<uint32_t>(random());
            tcam[row * 2 * words + w] = want & care;
            tcam[row * 2 * words + words + w] = ~want & care;
        }
        return std::span(&tcam[row * 2 * words], 2 * words);
    };
    for (int i = 0; i < 300; i++)
        write();

    Indexed indexed(tcam);
    CmTcamIdxs *idxs = indexed.state->idxs;
    engine->comReg.tfe_bank_en = 0x1fff;
    size_t hits = 0;
    for (int i = 0; i < 400; i++) {
        if (i % 40 == 0) {
            engine->comReg.tfe_bank_en = static_cast<uint32_t>(random());
            engine->comReg.tfe_bank_pwrdn = static_cast<uint32_t>(random() & random() & random());
            engine->comReg.bank_prtcl_sel = static_cast<uint32_t>(random());
        }
        uint32_t key[8];
        for (uint32_t &word : key)
            word = static_cast<uint32_t>(random());
        TFE_LUE_INPUT input{};
        input.key = key;
        input.ipv4_srch = i % 3 == 0;
        input.ipv6_srch = i % 3 == 1;
        input.fcoe_srch = i % 3 == 2;
        input.da_lkup = random() & 1;
        TFE_LUE_RSLT byIdx{}, byWalk{};
        indexed.state->idxs = idxs;
        engine->lookupL3Lpm(&input, &byIdx);
        indexed.state->idxs = nullptr;
        engine->lookupL3Lpm(&input, &byWalk);
        ASSERT_EQ(byIdx.hit, byWalk.hit) << i;
        ASSERT_EQ(byIdx.rslt, byWalk.rslt) << i;
        hits += byWalk.hit;
        if (i % 10 == 9) {
            const auto words = write();
            idxs->written(words.data(), words.size());
        }
    }
    EXPECT_GT(hits, 50u);
    EXPECT_LT(hits, 350u);
}

} // namespace
