// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/file_report.h"

#include <string.h>

#include "catalogue/file_trouble.h"

bool ReportIsRead(const FileReport &report) {
    return report.error == 0 && report.read.end == ReadEnd::answered &&
           report.read.answer.status == AnswerStatus::read;
}

std::string ReportReason(const FileReport &report) {
    return report.error != 0 ? strerror(report.error) : ReadReason(report.read);
}
