// Bytes on their way over a simulated line, in the order they were sent: the first byte of a
// piece is there at the piece's `at`, each further one `spacing` seconds later.
#pragma once

#include <algorithm>
#include <cstddef>
#include <deque>
#include <string>

namespace kelvara::sim {

class BytesInFlight {
  public:
    void push(double at, double spacing, std::string bytes) {
        pieces_.push_back({at, spacing, std::move(bytes)});
    }

    // What has arrived by `now`; with `one_piece`, from one piece at the most.
    std::string take(double now, bool one_piece = false) {
        std::string out;
        while (!pieces_.empty() && pieces_.front().at <= now) {
            Piece& p = pieces_.front();
            std::size_t n = p.bytes.size();
            if (p.spacing > 0)
                n = std::min(n, static_cast<std::size_t>((now - p.at) / p.spacing) + 1);
            out.append(p.bytes, 0, n);
            p.bytes.erase(0, n);
            p.at += static_cast<double>(n) * p.spacing;
            if (!p.bytes.empty()) break;  // the rest is still on its way
            pieces_.pop_front();
            if (one_piece) break;
        }
        return out;
    }

    bool empty() const { return pieces_.empty(); }
    // When the next byte arrives; only when not empty().
    double next_at() const { return pieces_.front().at; }
    void clear() { pieces_.clear(); }

  private:
    struct Piece {
        double at;
        double spacing;
        std::string bytes;
    };
    std::deque<Piece> pieces_;
};

}  // namespace kelvara::sim
