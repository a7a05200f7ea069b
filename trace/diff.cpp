// Where two recordings part.
#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "compare.h"
#include "dxr_trace.h"
#include "export.h"
#include "file_writer.h"
#include "pointers.h"
#include "script.h"
#include "slots.h"
#include "trace_file.h"
#include "why.h"

namespace dxr_trace {
namespace {

struct Side {
    std::string bytes;
    TraceFile file;
    Script script;
};

// A thread of one recording: what the module and the host called, without what the host did by
// itself.
struct Thread {
    const TraceFile *file = nullptr;
    const ScriptThread *told = nullptr;
    std::vector<const TracedCall *> calls;
};

bool Load(const char *path, Side &side, std::string &problem) {
    const int error = ReadWholeFile(path, side.bytes);
    if (error != 0) {
        problem = std::string(path) + ": " + std::generic_category().message(error);
        return false;
    }
    side.file = ReadTraceFile(side.bytes);
    if (side.file.state == FileState::kForeign || side.file.state == FileState::kDamaged) {
        problem = std::string(path) + ": " + side.file.problem;
        return false;
    }
    side.script = MakeScript(side.file);
    return true;
}

// What a recording was told to keep.
struct Kept {
    Follow follow;
    uint64_t bytes;  // of each piece
};

// Whether a recording that follows so much would have the piece.
bool IsFollowed(const SlotInfo &slot, const TracedPiece &piece, Follow follow) {
    if (follow == Follow::kNone) {
        return false;
    }
    for (const PointerRule &rule : slot.pointers) {
        if (PlaceOf(rule) == piece.place) {
            return follow == Follow::kDevhost || !rule.devhostAlone;
        }
    }
    return true;
}

// The pieces as a recording would have them that keeps less.
void Reduce(const SlotInfo &slot, const Kept &kept, std::vector<TracedPiece> &pieces) {
    pieces.erase(std::remove_if(pieces.begin(), pieces.end(),
                                [&](const TracedPiece &piece) {
                                    return !IsFollowed(slot, piece, kept.follow);
                                }),
                 pieces.end());
    for (TracedPiece &piece : pieces) {
        if (piece.bytes.size() > kept.bytes) {
            piece.bytes = piece.bytes.substr(0, static_cast<size_t>(kept.bytes));
        }
        // Nobody looks further into a text than that.
        if (piece.IsText() && piece.whole > kept.bytes) {
            piece.whole = kept.bytes + 1;
        }
    }
}

Kept KeptBy(const Side &side) {
    return {side.file.follow, side.file.dataBytes};
}

void Reduce(const Kept &kept, Side &side) {
    if (KeptBy(side).follow == kept.follow && KeptBy(side).bytes == kept.bytes) {
        return;
    }
    for (TracedCall &call : side.file.calls) {
        Reduce(kSlots[call.slot], kept, call.in);
        Reduce(kSlots[call.slot], kept, call.out);
    }
}

const char *NameOf(Follow follow) {
    switch (follow) {
        case Follow::kNone:
            return "no pointers";
        case Follow::kInterface:
            return "the pointers of the interface";
        case Follow::kDevhost:
            return "those of the development host, too";
    }
    return "pointers";
}

// Reduces both to what both have. Lines for people of what only one has.
std::string MakeComparable(Side &a, Side &b) {
    std::string notes;
    const Kept ofA = KeptBy(a);
    const Kept ofB = KeptBy(b);
    const Kept both{std::min(ofA.follow, ofB.follow), std::min(ofA.bytes, ofB.bytes)};
    if (ofA.follow != ofB.follow) {
        notes += std::string("note: the first recording follows ") + NameOf(ofA.follow) +
                 ", the second " + NameOf(ofB.follow) + "; only what both follow is compared\n";
    }
    if (ofA.bytes != ofB.bytes) {
        notes += "note: the first recording keeps " + std::to_string(ofA.bytes) +
                 " bytes of each piece, the second " + std::to_string(ofB.bytes) +
                 "; only what both keep is compared\n";
    }
    if (a.file.hasCallbacks != b.file.hasCallbacks) {
        notes += std::string("note: what the host called is in the ") +
                 (a.file.hasCallbacks ? "first" : "second") + " recording alone\n";
    }
    Reduce(both, a);
    Reduce(both, b);
    return notes;
}

std::vector<Thread> ThreadsOf(const Side &side, ThreadKind kind) {
    std::vector<Thread> threads;
    for (const ScriptThread &told : side.script.threads) {
        if (told.kind == kind) {
            Thread &thread = threads.emplace_back();
            thread.file = &side.file;
            thread.told = &told;
            for (const Step &step : told.steps) {
                if (!step.isHosts) {
                    thread.calls.push_back(&side.file.calls[step.call]);
                }
            }
        }
    }
    return threads;
}

const char *NameOf(ThreadKind kind) {
    switch (kind) {
        case ThreadKind::kMain:
            return "main thread";
        case ThreadKind::kTask:
            return "task";
        case ThreadKind::kHost:
            return "thread of the host";
        case ThreadKind::kOwn:
            return "other thread";
    }
    return "thread";
}

std::string Line(const char *sign, const TracedCall &call) {
    std::string line = sign;
    line += "call " + std::to_string(call.sequence) + "  " + CallText(call);
    if (call.hasReturned && call.hasResult) {
        line += " = " + ShownResult(call);
    }
    return line + "\n";
}

class Comparison {
  public:
    Comparison(uint32_t context, FileWriter &out) : context_(context), out_(out) {}

    void Compare(const Side &a, const Side &b) {
        for (const ThreadKind kind :
             {ThreadKind::kMain, ThreadKind::kTask, ThreadKind::kHost, ThreadKind::kOwn}) {
            const std::vector<Thread> ofA = ThreadsOf(a, kind);
            const std::vector<Thread> ofB = ThreadsOf(b, kind);
            for (const Pair &pair : PairsOf(ofA, ofB)) {
                const std::string name = NameOf(kind) + NumbersOf(pair, kind);
                out_.Put(Compare(name, pair.a != kNone ? ofA[pair.a] : Thread{},
                                 pair.b != kNone ? ofB[pair.b] : Thread{}));
            }
        }
    }

    [[nodiscard]] bool Differs() const { return differs_; }

  private:
    static constexpr size_t kNone = SIZE_MAX;

    // Places of two threads that are compared, either of which may be missing.
    struct Pair {
        size_t a = kNone;
        size_t b = kNone;
    };

    // Nothing says in which order threads begin that run at the same time. So the ones belong
    // together that did the same; then those that began with the same call; then the rest.
    static std::vector<Pair> PairsOf(const std::vector<Thread> &a, const std::vector<Thread> &b) {
        std::vector<Pair> pairs(a.size());
        std::vector<bool> isTaken(b.size());
        const auto match = [&](const auto &fits) {
            for (size_t i = 0; i < a.size(); ++i) {
                for (size_t j = 0; pairs[i].b == kNone && j < b.size(); ++j) {
                    if (!isTaken[j] && fits(a[i].calls, b[j].calls)) {
                        pairs[i].b = j;
                        isTaken[j] = true;
                    }
                }
            }
        };
        using Calls = std::vector<const TracedCall *>;
        match([](const Calls &left, const Calls &right) {
            return left.size() == right.size() && CountSame(left, right) == left.size();
        });
        match([](const Calls &left, const Calls &right) {
            return !left.empty() && !right.empty() &&
                   IsSameCall(*left[0], *right[0], nullptr, nullptr);
        });
        match([](const Calls & /*left*/, const Calls & /*right*/) { return true; });
        for (size_t i = 0; i < a.size(); ++i) {
            pairs[i].a = i;
        }
        for (size_t j = 0; j < b.size(); ++j) {
            if (!isTaken[j]) {
                pairs.push_back({kNone, j});
            }
        }
        return pairs;
    }

    static std::string NumbersOf(const Pair &pair, ThreadKind kind) {
        if (kind == ThreadKind::kMain) {
            return "";
        }
        if (pair.a == kNone) {
            return " " + std::to_string(pair.b + 1) + " of the second recording";
        }
        return " " + std::to_string(pair.a + 1) +
               (pair.b == kNone || pair.b == pair.a
                    ? ""
                    : ", " + std::to_string(pair.b + 1) + " of the second recording");
    }

    static size_t CountSame(const std::vector<const TracedCall *> &a,
                            const std::vector<const TracedCall *> &b) {
        size_t at = 0;
        while (at < std::min(a.size(), b.size()) && IsSame(*a[at], *b[at], nullptr)) {
            ++at;
        }
        return at;
    }

    std::string Compare(const std::string &name, const Thread &a, const Thread &b) {
        const size_t common = std::min(a.calls.size(), b.calls.size());
        const size_t at = CountSame(a.calls, b.calls);
        if (at == a.calls.size() && at == b.calls.size()) {
            return name + ": the same, " + std::to_string(at) + (at == 1 ? " call\n" : " calls\n");
        }
        differs_ = true;
        std::string text = name + ": parts after " + std::to_string(at) +
                           (at == 1 ? " equal call" : " equal calls");
        text += at == a.calls.size() || at == b.calls.size()
                    ? std::string("; the ") + (at == a.calls.size() ? "first" : "second") +
                          " recording has no more\n"
                    : "\n";
        for (size_t i = at - std::min<size_t>(at, context_); i < at; ++i) {
            text += Line("    ", *a.calls[i]);
        }
        Differences differences;
        if (at < common) {
            (void)IsSame(*a.calls[at], *b.calls[at], &differences);
        }
        text += After("  - ", a, at) + After("  + ", b, at);
        for (const CallDifference &difference : differences) {
            text += "    " + difference.Text() + "\n";
        }
        return text;
    }

    static bool IsSame(const TracedCall &a, const TracedCall &b, Differences *differences) {
        if (a.depth != b.depth && differences != nullptr) {
            differences->push_back(
                {"calls that it is made in", std::to_string(a.depth), std::to_string(b.depth)});
        }
        return a.depth == b.depth && IsSameCall(a, b, nullptr, differences) &&
               IsSameAnswer(a, b, differences);
    }

    std::string After(const char *sign, const Thread &thread, size_t at) const {
        std::string text;
        const size_t end = std::min<size_t>(thread.calls.size(), at + 1 + context_);
        for (size_t i = at; i < end; ++i) {
            text += Line(sign, *thread.calls[i]);
        }
        return text;
    }

    uint32_t context_;
    FileWriter &out_;
    bool differs_ = false;
};

uint32_t Diff(const char *a, const char *b, uint32_t context, FILE *out, std::string &problem) {
    Side first;
    Side second;
    if (!Load(a, first, problem) || !Load(b, second, problem)) {
        return 2;
    }
    FileWriter writer(out);
    Comparison comparison(context, writer);
    writer.Put(MakeComparable(first, second));
    comparison.Compare(first, second);
    for (const auto &[path, side] : {std::pair(a, &first), std::pair(b, &second)}) {
        if (!side->file.problem.empty()) {
            problem = std::string(path) + ": " + side->file.problem;
        } else if (side->file.dropped != 0) {
            problem = std::string(path) + ": " + std::to_string(side->file.dropped) +
                      " records were dropped";
        }
    }
    const int error = writer.Flush();
    if (error != 0) {
        problem = "cannot be written: " + std::generic_category().message(error);
        return 2;
    }
    return comparison.Differs() ? 1 : 0;
}

}  // namespace
}  // namespace dxr_trace

uint32_t DxrTraceDiff(const char *a, const char *b, uint32_t context, FILE *out, char *error,
                      uint32_t errorSize) {
    return dxr_trace::Telling(error, errorSize, 2, [&](std::string &problem) {
        return dxr_trace::Diff(a, b, context, out, problem);
    });
}
