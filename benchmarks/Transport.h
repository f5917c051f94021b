#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <curl/curl.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "LXTesting/DevBackend.h"

// A bare libcurl program to compare with: a network thread that runs the multi interface and is woken for each request.
// Both sides talk to one development backend, in a process of its own, over kept TLS connections. They take turns; each
// figure is the median of the ratios of the rounds. All threads stay on one processor: where the scheduler places them
// otherwise decides more than what they do.

namespace transport {

struct Server {
  std::string address;
  std::string caFile;
};

struct Shape {
  const char* name;
  bool post;
  int inFlight;
};

inline const std::string url = "https://auth.lexiconia.com/v4/api/none?client=benchmark";
inline const std::string body(200, 'b');
inline const std::string token(400, 't');

using Done = std::function<void(bool)>;

/// How many requests may still be started. The standard semaphore yields the processor four times before it says no.
class Slots {
 public:
  explicit Slots(int free) : free_(free) {}

  bool tryAcquire() {
    const std::lock_guard lock(mutex_);
    return free_ > 0 && free_-- > 0;
  }
  void acquire() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return free_ > 0; });
    --free_;
  }
  void release() {
    const std::lock_guard lock(mutex_);
    ++free_;
    changed_.notify_one();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int free_;
};

class Client {
 public:
  virtual ~Client() = default;
  virtual void send(bool post, Done done) = 0;
  /// Waits on the calling thread until there is a free slot, and takes it.
  virtual void acquire(Slots& free) { free.acquire(); }
};

class BareClient final : public Client {
 public:
  /// Sends `headers` with every request, beside the token.
  BareClient(const Server& server, std::vector<std::string> headers)
      : server_(server),
        headers_(std::move(headers)),
        connectTo_(curl_slist_append(nullptr, ("::" + server.address).c_str())),
        multi_(curl_multi_init()),
        thread_([this] { run(); }) {}

  ~BareClient() override {
    stopped_ = true;
    curl_multi_wakeup(multi_);
    thread_.join();
    for (auto* transfer : idle_) {
      curl_easy_cleanup(transfer->easy);
      delete transfer;
    }
    curl_multi_cleanup(multi_);
    curl_slist_free_all(connectTo_);
  }

  void send(bool post, Done done) override {
    {
      const std::lock_guard lock(mutex_);
      waiting_.emplace_back(post, std::move(done));
    }
    curl_multi_wakeup(multi_);
  }

 private:
  struct Transfer {
    CURL* easy = nullptr;
    curl_slist* headers = nullptr;
    std::string answer;
    Done done;
  };

  static std::size_t arrived(char* data, std::size_t size, std::size_t count, void* transfer) {
    static_cast<Transfer*>(transfer)->answer.append(data, size * count);
    return size * count;
  }

  Transfer* takeTransfer() {
    if (!idle_.empty()) {
      auto* transfer = idle_.back();
      idle_.pop_back();
      return transfer;
    }
    auto* transfer = new Transfer{.easy = curl_easy_init(), .headers = nullptr, .answer = {}, .done = {}};
    curl_easy_setopt(transfer->easy, CURLOPT_CAINFO, server_.caFile.c_str());
    curl_easy_setopt(transfer->easy, CURLOPT_CONNECT_TO, connectTo_);
    curl_easy_setopt(transfer->easy, CURLOPT_WRITEFUNCTION, arrived);
    curl_easy_setopt(transfer->easy, CURLOPT_WRITEDATA, transfer);
    curl_easy_setopt(transfer->easy, CURLOPT_PRIVATE, transfer);
    curl_easy_setopt(transfer->easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(transfer->easy, CURLOPT_ACCEPT_ENCODING, "gzip");  // so that both send the same bytes
    return transfer;
  }

  void start(bool post, Done done) {
    auto* transfer = takeTransfer();
    transfer->done = std::move(done);
    transfer->answer.clear();
    curl_easy_setopt(transfer->easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(transfer->easy, CURLOPT_TIMEOUT_MS, 60'000L);
    const auto add = [&](const std::string& line) {
      transfer->headers = curl_slist_append(transfer->headers, line.c_str());
    };
    if (post) {
      curl_easy_setopt(transfer->easy, CURLOPT_POST, 1L);
      curl_easy_setopt(transfer->easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
      curl_easy_setopt(transfer->easy, CURLOPT_POSTFIELDS, body.c_str());
      add("Content-Type: application/json; charset=utf-8");
    } else {
      curl_easy_setopt(transfer->easy, CURLOPT_HTTPGET, 1L);
    }
    add("Authorization: Bearer " + token);
    for (const auto& header : headers_) add(header);
    curl_easy_setopt(transfer->easy, CURLOPT_HTTPHEADER, transfer->headers);
    curl_multi_add_handle(multi_, transfer->easy);
  }

  void run() {
    while (!stopped_) {
      std::deque<std::pair<bool, Done>> batch;
      {
        const std::lock_guard lock(mutex_);
        batch.swap(waiting_);
      }
      for (auto& [post, done] : batch) start(post, std::move(done));
      int running = 0;
      curl_multi_perform(multi_, &running);
      int left = 0;
      bool any = false;
      while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
        CURL* const easy = message->easy_handle;
        const bool fine = message->data.result == CURLE_OK;
        Transfer* transfer = nullptr;
        curl_easy_getinfo(easy, CURLINFO_PRIVATE, &transfer);
        curl_multi_remove_handle(multi_, easy);
        curl_slist_free_all(std::exchange(transfer->headers, nullptr));
        const auto done = std::move(transfer->done);
        const bool hasBody = !transfer->answer.empty();
        idle_.push_back(transfer);
        done(fine && hasBody);
        any = true;
      }
      if (!any) curl_multi_poll(multi_, nullptr, 0, 1000, nullptr);
    }
  }

  const Server server_;
  const std::vector<std::string> headers_;
  curl_slist* connectTo_;
  CURLM* multi_;
  std::mutex mutex_;
  std::deque<std::pair<bool, Done>> waiting_;
  std::vector<Transfer*> idle_;
  std::atomic<bool> stopped_{false};
  std::thread thread_;
};

struct Cost {
  double wall = 0;  // microseconds a request
  double cpu = 0;
};

inline double processMicroseconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto us = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
  };
  return us(usage.ru_utime) + us(usage.ru_stime);
}

inline Cost measure(Client& client, const Shape& shape, int count) {
  Slots free(shape.inFlight);
  std::atomic<int> failures = 0;
  const double cpu = processMicroseconds();
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < count; ++i) {
    client.acquire(free);
    client.send(shape.post, [&](bool fine) {
      if (!fine) ++failures;
      free.release();
    });
  }
  for (int i = 0; i < shape.inFlight; ++i) client.acquire(free);
  const std::chrono::duration<double, std::micro> wall = std::chrono::steady_clock::now() - start;
  if (failures > 0) std::fprintf(stderr, "%d requests failed\n", failures.load());
  return {wall.count() / count, (processMicroseconds() - cpu) / count};
}

inline double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

/// Lets both take turns and prints the medians of their costs and of the ratios of the rounds.
inline void compare(Client& bare, Client& other, const char* name, const Shape& shape, int rounds, int count) {
  measure(bare, shape, count / 4);
  measure(other, shape, count / 4);
  std::vector<double> bareWall, bareCPU, wall, cpu, wallRatio, cpuRatio;
  for (int round = 0; round < rounds; ++round) {
    const Cost a = measure(bare, shape, count);
    const Cost b = measure(other, shape, count);
    bareWall.push_back(a.wall);
    bareCPU.push_back(a.cpu);
    wall.push_back(b.wall);
    cpu.push_back(b.cpu);
    wallRatio.push_back(b.wall / a.wall);
    cpuRatio.push_back(b.cpu / a.cpu);
  }
  std::printf("%-18s bare %7.1f us wall %6.1f us CPU   %s %7.1f us %6.1f us   wall x%.3f CPU x%.3f throughput x%.3f\n",
              shape.name, median(bareWall), median(bareCPU), name, median(wall), median(cpu), median(wallRatio),
              median(cpuRatio), 1 / median(wallRatio));
}

/// Keeps this process, and those that it starts, on one processor.
inline void stayOnOneProcessor() {
  cpu_set_t processor;
  CPU_ZERO(&processor);
  CPU_SET(std::max(sched_getcpu(), 0), &processor);
  sched_setaffinity(0, sizeof processor, &processor);
}

/// The backend in a child process, which ends with this. To be started before any thread.
class BackendProcess {
 public:
  BackendProcess() {
    int news[2], life[2];
    if (pipe(news) != 0 || pipe(life) != 0) std::abort();
    child_ = fork();
    if (child_ == 0) {
      close(news[0]);
      close(life[1]);
      serve(news[1], life[0]);
    }
    close(news[1]);
    close(life[0]);
    life_ = life[1];
    std::string line;
    char buffer[256];
    for (ssize_t count = 0; (count = read(news[0], buffer, sizeof buffer)) > 0;) {
      line.append(buffer, static_cast<std::size_t>(count));
    }
    close(news[0]);
    const auto blank = line.find(' ');
    if (blank == std::string::npos) std::abort();
    server_ = {line.substr(0, blank), line.substr(blank + 1)};
  }
  BackendProcess(const BackendProcess&) = delete;
  BackendProcess& operator=(const BackendProcess&) = delete;
  ~BackendProcess() {
    close(life_);
    waitpid(child_, nullptr, 0);
  }

  const Server& server() const { return server_; }

 private:
  [[noreturn]] static void serve(int news, int life) {
    auto backend = lx::DevBackend::start();
    if (!backend) _exit(1);
    const std::string line = (*backend)->address() + " " + (*backend)->caFile();
    if (write(news, line.data(), line.size()) < 0) _exit(1);
    close(news);
    char ignored = 0;
    while (read(life, &ignored, 1) > 0) {
    }
    backend->reset();
    _exit(0);
  }

  pid_t child_ = 0;
  int life_ = -1;
  Server server_;
};

}  // namespace transport
