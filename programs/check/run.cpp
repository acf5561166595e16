#include "run.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <tuple>

#include "terminal.h"

namespace check
{
namespace
{

constexpr std::size_t kMovesAtATime = 8;

void Add(const Work& part, Work& sum)
{
    sum.pairs += part.pairs, sum.byBoxes += part.byBoxes, sum.byPlace += part.byPlace;
    sum.impacts += part.impacts;
    sum.placeSeconds += part.placeSeconds, sum.impactSeconds += part.impactSeconds;
    sum.measureSeconds += part.measureSeconds;
}

/// The lists of one thread. Clearances go to the common array, each to its own place.
struct Worker {
    std::vector<Hit> hits{};
    std::vector<Undecided> undecided{};
    Work work{};
};

struct Queue {
    std::size_t end;
    std::atomic<std::size_t> next, done{0};
};

/// @return what this thread has found; on its own stack until then, since neighbours in an array
/// would share cache lines with every count
Worker RunWorker(const Job& job, const Pairs& pairs, Queue& queue,
                 std::vector<Clearance>& clearance)
{
    Worker worker;
    for (;;) {
        const std::size_t first = queue.next.fetch_add(kMovesAtATime);
        const std::size_t end = std::min(first + kMovesAtATime, queue.end);
        if (first >= end) return worker;
        for (std::size_t move = first; move < end; ++move) {
            if (Interrupted()) return worker;
            clearance[move] = CheckMove(job, pairs, static_cast<std::uint32_t>(move), worker.hits,
                                        worker.undecided, worker.work);
        }
        queue.done += end - first;
    }
}

/// @return when all workers are done
void ShowProgress(Queue& queue, std::size_t total, const std::atomic<unsigned>& working)
{
    Progress progress("checking " + std::to_string(total) + " moves",
                      static_cast<std::int64_t>(total));
    while (working > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        progress.Show(static_cast<std::int64_t>(queue.done.load()));
    }
}

} // namespace

std::size_t FirstMove(const Shard& shard, std::size_t moves)
{
    return moves / shard.count * shard.index + moves % shard.count * shard.index / shard.count;
}

void Sort(Findings& findings)
{
    const auto before = [](const auto& x, const auto& y) {
        return std::tie(x.move, x.a, x.b) < std::tie(y.move, y.a, y.b);
    };
    std::sort(findings.hits.begin(), findings.hits.end(), before);
    std::sort(findings.undecided.begin(), findings.undecided.end(), before);
}

Findings CheckMoves(const Job& job, const Pairs& pairs, const Shard& shard, unsigned threads,
                    Work& work)
{
    Findings findings;
    const std::size_t moves = job.program.moves.size();
    findings.clearance.resize(moves);
    const std::size_t first = FirstMove(shard, moves);
    Queue queue{FirstMove({shard.index + 1, shard.count}, moves), first};
    std::vector<Worker> workers(threads);
    std::atomic<unsigned> working{threads};
    {
        std::vector<std::jthread> running;
        for (Worker& worker : workers)
            running.emplace_back([&] {
                worker = RunWorker(job, pairs, queue, findings.clearance);
                --working;
            });
        ShowProgress(queue, queue.end - first, working);
    }
    for (const Worker& worker : workers) {
        findings.hits.insert(findings.hits.end(), worker.hits.begin(), worker.hits.end());
        findings.undecided.insert(findings.undecided.end(), worker.undecided.begin(),
                                  worker.undecided.end());
        Add(worker.work, work);
    }
    Sort(findings);
    return findings;
}

} // namespace check
