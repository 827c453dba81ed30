// The workers of a pass.
#include "engine/render/pass_runner.h"

#include "engine/render/threads.h"

namespace kiln::engine::render {

void PassRunner::Begin(const Pass& pass) {
  pass_ = pass;
  std::vector<Bucket> buckets = SpiralBuckets(pass.area, pass.bucket_size);
  total_ = static_cast<int>(buckets.size());
  finished_ = 0;
  seconds_ = 0;
  queue_.Fill(std::move(buckets));
}

Verdict PassRunner::Run(const std::function<Deadline()>& deadline) {
  using Clock = std::chrono::steady_clock;
  while (true) {
    const Clock::time_point begin = Clock::now();
    if (!control_.interrupt()) RunWorkers(pass_.workers, [&, end = deadline()](int) { Work(end); });
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    seconds_ += seconds;
    control_.Count([&](RenderStatistics& statistics) { statistics.seconds += seconds; });
    const Verdict verdict = control_.Settle();
    if (verdict != Verdict::kGoOn || queue_.Empty()) return verdict;
  }
}

// Takes buckets until the queue is empty or an interrupt comes.
void PassRunner::Work(Deadline deadline) {
  const bool report = pass_.report_buckets && listener_.WantsBuckets();
  const std::atomic<bool>& interrupt = control_.interrupt();
  Bucket bucket;
  while (!interrupt && queue_.Next(&bucket)) {
    if (report) listener_.OnBucketInit(bucket);
    TraceStatistics traced;
    const bool done =
        pass_.frame->RenderBucket(bucket, pass_.first, pass_.count, interrupt, pass_.film, &traced);
    control_.Count([&](RenderStatistics& statistics) {
      statistics.rays += traced.rays;
      statistics.dropped_samples += done ? traced.dropped : 0;
    });
    if (!done) {
      queue_.Return(bucket);
      return;
    }
    ++finished_;
    if (pass_.report_buckets) ReportReady(bucket);
    if (deadline && std::chrono::steady_clock::now() > *deadline) control_.TimeOut();
  }
}

void PassRunner::ReportReady(const Bucket& bucket) {
  if (listener_.WantsBuckets()) {
    listener_.OnBucketReady(bucket, listener_.WantsBucketImages() ? pass_.film->MakeImage(bucket) : nullptr);
  }
  listener_.OnProgress("Rendering", static_cast<int>(int64_t{1000} * finished_ / total_), 1000);
}

}  // namespace kiln::engine::render
