#pragma once
// The chip model as a library: a dump is loaded once, and any number of frames run through it.
//
//     Model model(image);                           // tsr_dmp_t as it stands behind the dump's header
//     const Verdict verdict = model.route(3, frame);
//     if (verdict.kind == VerdictKind::FORWARD)
//         use(verdict.shim, verdict.frame);
//
// docs/model_example.cpp is a whole program.
//
// What holds:
// - A model owns all its state. Models live side by side; each is freed with its scope. The image stays the caller's:
// it
//   is read and never written, and must outlive the model.
// - A frame runs on the state of the dump. What it counts, learns, samples and keeps in histories is taken back before
//   route() returns, so that verdicts depend neither on the order of frames nor on their number. With
//   RouteOptions::stream it stays, as between frames of one run of the chip, until undo().
// - Where the model cannot tell what the chip would do, or has found a fault of its own, the verdict is UNDECIDED and
//   says why. The model is sound afterwards.
// - A model is used by one thread at a time. Models in different threads share nothing that is written.
// - A quiet run prints nothing. The trace goes to a sink, and rows that are read and hit to an observer, when asked
// for.

#include "cm.h"
#include "tsr_reg_dump.h"

#include "base/cmOut.h"
#include "verdict.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

struct CmRte;
struct CmRteState;
struct CmRteStat;

/// A word of the dump: its byte offset in the image, a multiple of four, and its value in host order. A change past the
/// image is ignored.
struct DumpWord {
    uint32_t offset;
    uint32_t value;
};

/// The place of a row that does not come out of the dump.
inline constexpr uint32_t kNotDumped = 0xffffffff;

/// A row that a frame read, or that a search hit.
struct ObservedRow {
    std::string_view memory; ///< name of the model's memory, or of the dump's row for stages that read the image
    uint64_t row;            ///< entry of the memory; of a group of the dump, the place in it in rows
    uint32_t dumpOffset;     ///< byte offset in the dump of its first word; kNotDumped when no load fills it
    /// Its words as the model holds them, in the order of their addresses; of an ACL TCAM the words that ask for ones
    /// and those that ask for zeroes, lowest bits first.
    std::span<const uint32_t> words;
    std::span<const uint32_t> key; ///< the key that hit it; empty for a row that was read
};

/// Is told of rows in the order in which the frame meets them. The words and the key last for the call alone.
class RowObserver {
public:
    virtual ~RowObserver() = default;
    virtual void row(const ObservedRow &row) = 0;
};

/// How a frame is to be run.
struct RouteOptions {
    bool stream = false;             ///< what the frame writes stays, for the frames behind it
    CmSink *trace = nullptr;         ///< takes the text of a verbose run, without what a program prints of the verdict
    RowObserver *observer = nullptr; ///< is told of rows
};

class Model {
public:
    /// Loads the dump image `image` with `changes` on top, later ones over earlier ones. Throws std::bad_alloc without
    /// memory for it.
    explicit Model(const tsr_dmp_t *image, std::span<const DumpWord> changes = {});
    ~Model();
    Model(const Model &) = delete;
    Model &operator=(const Model &) = delete;

    /// The same, for an image of sizeof(tsr_dmp_t) bytes. Null when `image` has another size, or does not stand at a
    /// multiple of four.
    static std::unique_ptr<Model> load(std::span<const uint8_t> image, std::span<const DumpWord> changes = {});

    /// Runs the bytes of `frame`, without its FCS, from `port`: below 12 a front port; above, the fabric, where the
    /// first 24 bytes are the shim. A shim that is cut short is one of zeroes behind its end, and its bytes count as
    /// the length of a frame of zeroes.
    Verdict route(uint32_t port, std::span<const uint8_t> frame, const RouteOptions &options = {});
    /// The same into a verdict that is used again, which saves the memory's way round.
    void route(uint32_t port, std::span<const uint8_t> frame, const RouteOptions &options, Verdict &verdict);

    /// Takes back what frames of a stream and host reads have left. The model is as it was loaded, changes included.
    void undo();

    /// Changes words of the dump on the loaded model: it is then what a load with these words would have made, to the
    /// last word of its registers and memories. So the masks of the load hold here as well: bits that it drops are
    /// dropped, and a word that no load takes changes what the stages read from the image alone. A wide entry is
    /// written whole. What streams have left is undone first. The words that the host interface holds of entries
    /// written by half stay.
    void change(DumpWord word) { change(std::span(&word, 1)); }
    void change(std::span<const DumpWord> words);

    /// Takes back all changes since the load; the changes of the load itself stay.
    void revert();

    /// Reads the word at chip address `addr` as a host does, with what the read does on the chip: it empties FIFOs and
    /// clears flags until undo(). Returns false when the address names nothing.
    bool read(uint32_t addr, uint32_t *value);

    /// The word of the dump at `offset` as the model takes it, changes included.
    uint32_t word(uint32_t offset) const;

    /// The chip, and the record of the frame that ran last.
    const CmRte &chip() const;
    const CmRteStat &stat() const;
    const CmRteState &state() const;

    /// The chip for one who writes into it, as state files do. What it holds then becomes the loaded state, to which
    /// frames are taken back; a later change() or revert() of a word of it writes anew what the dump has there, for a
    /// register what the dump has in all registers of its kind. Write before the next call of the model.
    CmRte &edit();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};
