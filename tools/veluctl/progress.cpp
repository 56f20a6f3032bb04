// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/progress.h"

#include <inttypes.h>

#include "tools/shared/safe_text.h"
#include "tools/shared/text_wrap.h"
#include "tools/veluctl/queue_wait.h"
#include "tools/veluctl/run_text.h"
#include "tools/veluctl/terminal.h"
#include "tools/veluctl/terminal_line.h"

namespace {

// In a log a line now and then is enough, unless the phase changes.
constexpr double kPlainSeconds = 5;

// A rate of less than a second says nothing.
constexpr double kRateSeconds = 1;

std::string PhaseText(const RunView &view) {
    switch (view.phase) {
    case Phase::queued:
        return "waiting: the run " + QueueWaitText(QueueWaitLook());
    case Phase::running:
        return view.beginning ? "starting" : "running";
    case Phase::kept:
        return "kept: the daemon tries again later (" +
               (view.kept_because.empty() ? "its log says why" : SafeText(view.kept_because)) + ")";
    case Phase::done:
        return "done";
    }
    return "";
}

// Which of several requests is carried out.
std::string RequestText(const RunView &view) {
    const bool several = view.record->request > 0 && view.lines_total > 1;
    return several ? ", request " + std::to_string(view.record->request) + " of " +
                         std::to_string(view.lines_total)
                   : "";
}

} // namespace

std::string ProgressText(const RunView &view, int64_t rows_before, int64_t rows, double run_seconds) {
    std::string text = PhaseText(view);
    char part[128];
    if (view.beginning)
        return text;
    if (view.record)
        return text + RequestText(view) + ", " + RunFilesText(*view.record);
    if (view.phase == Phase::running || view.phase == Phase::done) {
        snprintf(part, sizeof part, ", line %" PRId64 " of %" PRId64, view.lines_done, view.lines_total);
        text += part;
    }
    if (rows >= 0 && view.phase != Phase::queued) {
        const int64_t added = rows_before >= 0 ? rows - rows_before : rows;
        snprintf(part, sizeof part, ", %" PRId64 " files catalogued (%+" PRId64 ")", rows, added);
        text += part;
        if (run_seconds >= kRateSeconds) {
            snprintf(part, sizeof part, ", %.0f/s", static_cast<double>(added) / run_seconds);
            text += part;
        }
    }
    return text;
}

std::string ProgressPlace(const RunView &view) {
    if (view.record)
        return SafeText(view.record->folder);
    return SafeText(view.request) + (view.file.empty() ? "" : " > " + SafeText(view.file));
}

Progress::Progress(FILE *out, int64_t rows_before)
    : out_(out), terminal_(IsTerminal(out)), rows_before_(rows_before) {}

void Progress::Show(const RunView &view, int64_t rows, double seconds) {
    const bool begins = view.phase != Phase::queued && !running_;
    const bool changes = last_.empty() || view.phase != last_phase_;
    if (begins) {
        running_ = true;
        run_begin_ = seconds;
    }
    const std::string text = ProgressText(view, rows_before_, rows, running_ ? seconds - run_begin_ : 0);
    const std::string place = ProgressPlace(view);
    if (terminal_) {
        TerminalLineShow(out_, text, place);
        return;
    }
    const std::string line = text + (place.empty() ? "" : ": " + place);
    if ((!changes && seconds - last_time_ < kPlainSeconds) || line == last_)
        return;
    fprintf(out_, "%s\n", line.c_str());
    fflush(out_);
    last_ = line;
    last_phase_ = view.phase;
    last_time_ = seconds;
}

void Progress::Finish(const RunView &view, int64_t rows, double seconds) {
    if (!view.record) {
        Show(view, rows, seconds);
        End();
        return;
    }
    if (terminal_)
        fputs("\r\033[K", out_);
    const std::string text = "done: " + RunCountsText(*view.record);
    for (const std::string &line : TextWrap(text, terminal_ ? TerminalColumns(out_) : SIZE_MAX))
        fprintf(out_, "%s\n", line.c_str());
    fflush(out_);
}

void Progress::End() {
    if (terminal_)
        fputc('\n', out_);
}
