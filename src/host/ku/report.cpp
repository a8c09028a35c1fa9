// Reporting: a process-wide journal with per-thread quiet mode, the thread's
// logging buffer and last error, and an optional host handler.
#include <cstdio>
#include <deque>
#include <mutex>
#include <new>

#include "vxhost/KU.h"

namespace {

// The journal keeps the newest reports; a long-running host must not grow
// without bound.
constexpr size_t kJournalLimit = 4096;

struct Journal {
  std::mutex lock;
  std::deque<KU_ReportRecord> records;
  KU_ReportHandler handler = nullptr;
  void* handler_refcon = nullptr;
};

Journal& TheJournal() {
  static Journal* journal = new Journal;  // outlives static destructors of clients
  return *journal;
}

thread_local int t_quiet_depth = 0;
thread_local KU_Err t_last_error = 0;
thread_local char t_logging_buffer[KU_kLoggingBufferSize];

constexpr int kMaxQuietDepth = 64;

void Record(KU_ReportKind kind, int32_t site, int32_t line, int32_t severity, const char* text) {
  if (t_quiet_depth > 0) return;
  KU_ReportRecord record{kind, site, line, severity, text ? std::string(text) : std::string()};
  Journal& journal = TheJournal();
  KU_ReportHandler handler;
  void* refcon;
  {
    std::lock_guard<std::mutex> guard(journal.lock);
    if (journal.records.size() >= kJournalLimit) journal.records.pop_front();
    journal.records.push_back(record);
    handler = journal.handler;
    refcon = journal.handler_refcon;
  }
  if (handler) handler(record, refcon);
}

}  // namespace

std::vector<KU_ReportRecord> KU_TakeReports() {
  Journal& journal = TheJournal();
  std::lock_guard<std::mutex> guard(journal.lock);
  std::vector<KU_ReportRecord> out(journal.records.begin(), journal.records.end());
  journal.records.clear();
  return out;
}

void KU_SetReportHandler(KU_ReportHandler handler, void* refcon) {
  Journal& journal = TheJournal();
  std::lock_guard<std::mutex> guard(journal.lock);
  journal.handler = handler;
  journal.handler_refcon = refcon;
}

KU_Err KUp_ReportErrString(int32_t site, int32_t severity, const char* text) {
  Record(KU_ReportKind::Text, site, 0, severity, text);
  return 0;
}

KU_Err KUp_ReportError(int32_t site, int32_t severity) {
  t_logging_buffer[KU_kLoggingBufferSize - 1] = 0;
  Record(KU_ReportKind::Error, site, 0, severity, t_logging_buffer);
  return 0;
}

void KUp_SetThreadLastError(KU_Err code) { t_last_error = code; }
KU_Err KUp_GetThreadLastError() { return t_last_error; }
char* KUp_GetThreadLoggingBuffer() { return t_logging_buffer; }

void KU_ReportFailedVerification(int32_t site, int32_t line, int32_t, const char* text) {
  Record(KU_ReportKind::Verification, site, line, 0, text);
}

KU_Err KU_TranslateAndReportException(const std::exception& e) {
  KU_Err code = 3;
  if (dynamic_cast<const std::bad_alloc*>(&e)) {
    code = 4;
  } else if (auto coded = dynamic_cast<const KU_CodedException*>(&e)) {
    code = coded->Code();
  }
  Record(KU_ReportKind::Exception, 0, 0, 8, e.what());
  return code;
}

KU_Err KU_StartQuietErrorsOnCurrentThread() {
  if (t_quiet_depth >= kMaxQuietDepth) return 3;
  ++t_quiet_depth;
  return 0;
}

KU_Err KU_EndQuietErrorsOnCurrentThread() {
  if (t_quiet_depth <= 0) return 3;
  --t_quiet_depth;
  return 0;
}

bool KU_ErrorsAreQuietOnCurrentThread() { return t_quiet_depth > 0; }
