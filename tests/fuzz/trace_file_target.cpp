// The reader of recordings and the texts that are made of them. The input is a file's blocks
// without their heads, which no chance would make; or it is the file itself.
#include "trace_file.h"

#include <cstdint>
#include <string>
#include <string_view>

#include "compare.h"
#include "encoder.h"
#include "export.h"
#include "fuzz/targets.h"
#include "script.h"

namespace dxrfuzz {
namespace {

using dxr_trace::BlockHead;
using dxr_trace::BlockKind;
using dxr_trace::FileState;

std::string Rest(Input &input) {
    std::string bytes;
    while (!input.Empty()) {
        bytes += static_cast<char>(input.Byte());
    }
    return bytes;
}

// A file of good heads: kind, length, content for each block.
std::string File(Input &input) {
    std::string file = dxr_trace::FileHead();
    for (uint32_t number = 0; !input.Empty(); ++number) {
        const auto kind = BlockKind{input.Below(6)};
        std::string content;
        for (uint32_t left = input.Byte(); left > 0 && !input.Empty(); --left) {
            content += static_cast<char>(input.Byte());
        }
        file += BlockHead(kind, number, content) + content;
    }
    return file;
}

// Each call is in the script of its thread, within what it was made within; whoever replays it does
// each event of it once, in the order of its thread.
void CheckScript(const dxr_trace::TraceFile &file) {
    const dxr_trace::Script script = dxr_trace::MakeScript(file);
    size_t steps = 0;
    size_t events = 0;
    for (const dxr_trace::ScriptThread &thread : script.threads) {
        steps += thread.steps.size();
        uint32_t last = 0;
        for (size_t i = 0; i < thread.steps.size(); ++i) {
            const dxr_trace::Step &step = thread.steps[i];
            const dxr_trace::TracedCall &call = file.calls[step.call];
            DXR_FUZZ_SAME(step.end > i && step.end <= thread.steps.size());
            DXR_FUZZ_SAME(step.isHosts == (step.enterEvent == dxr_trace::kNoEvent));
            DXR_FUZZ_SAME(dxr_trace::IsSameCall(call, call, nullptr, nullptr));
            DXR_FUZZ_SAME(dxr_trace::IsSameAnswer(call, call, nullptr));
            if (!step.isHosts) {
                DXR_FUZZ_SAME(step.enterEvent < script.events.size());
                DXR_FUZZ_SAME(events == 0 || i == 0 || step.enterEvent > last || last == 0);
                last = step.enterEvent;
                events += step.returnEvent != dxr_trace::kNoEvent ? 2 : 1;
                DXR_FUZZ_SAME(step.returnEvent > step.enterEvent);
            }
        }
    }
    DXR_FUZZ_SAME(steps == file.calls.size());
    DXR_FUZZ_SAME(events == script.events.size());
}

void ExpectOneLine(const std::string &text) {
    DXR_FUZZ_SAME(!text.empty() && text.find('\n') == text.size() - 1);
    for (const char c : text) {
        DXR_FUZZ_SAME(c == '\n' || (static_cast<uint8_t>(c) >= 0x20 && c != 0x7F));
    }
}

}  // namespace

void TraceFile(Input &input) {
    const bool isRaw = input.Flag();
    const std::string bytes = isRaw ? Rest(input) : File(input);
    const dxr_trace::TraceFile file = dxr_trace::ReadTraceFile(bytes);
    DXR_FUZZ_SAME(file.goodBytes <= bytes.size());
    DXR_FUZZ_SAME((file.state == FileState::kWhole) == file.problem.empty());
    for (const dxr_trace::TracedCall &call : file.calls) {
        DXR_FUZZ_SAME(call.slot < dxr_trace::kSlotCount);
        DXR_FUZZ_SAME(file.FindThread(call.thread) != nullptr);
        ExpectOneLine(dxr_trace::JsonLine(call));
        ExpectOneLine(dxr_trace::TextLine(call));
        (void)dxr_trace::ChromeEvent(file, call);
    }
    CheckScript(file);
    (void)dxr_trace::ForeignText(file);
    (void)dxr_trace::ChromeBegin(file);
    (void)dxr_trace::CountsTable(file);

    // What was good alone gives the same calls.
    const std::string good = bytes.substr(0, file.goodBytes);
    const dxr_trace::TraceFile again = dxr_trace::ReadTraceFile(good);
    if (file.state != FileState::kForeign && file.goodBytes != 0) {
        DXR_FUZZ_SAME(again.state == FileState::kCut || again.state == FileState::kWhole);
        DXR_FUZZ_SAME(again.calls.size() == file.calls.size());
        DXR_FUZZ_SAME(again.dropped == file.dropped);
    }
}

}  // namespace dxrfuzz
