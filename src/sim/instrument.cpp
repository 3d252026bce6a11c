#include "sim/instrument.h"

#include <algorithm>
#include <charconv>
#include <sstream>

#include "curve/number_format.h"
#include "sim/command_sets.h"

namespace kelvara::sim {

namespace {

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return {};
    const auto last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

// Printable, without commas or digits, so no reader mistakes it for a real answer.
constexpr const char* kGarbage = "#?@!~%&*GARBLED*&%~!@?#";
// Far more than the longest reply any command has.
constexpr std::size_t kBabbleBytes = 65536;

}  // namespace

bool Faults::parse(const std::string& text, int model_baud) {
    Faults f = *this;
    std::stringstream in(text);
    std::string item;
    while (std::getline(in, item, ',')) {
        item = trimmed(item);
        if (item.empty()) continue;
        const auto eq = item.find('=');
        const std::string key = item.substr(0, eq);
        const std::string value = eq == std::string::npos ? "" : item.substr(eq + 1);
        const auto number = [&]() -> std::optional<double> {
            if (!is_numeric_text(value)) return std::nullopt;
            return parse_leading_number(value);
        };
        const auto whole = [&](int& target) {
            const auto v = to_int32(value);
            if (!v || *v < 0) return false;
            target = *v;
            return true;
        };
        if (key == "silent" && value.empty()) {
            f.silent = true;
        } else if (key == "garbage" && value.empty()) {
            f.garbage = true;
        } else if (key == "split") {
            if (!whole(f.split_pieces)) return false;
        } else if (key == "delay") {
            const auto v = number();
            if (!v || *v < 0) return false;
            f.reply_delay = *v;
        } else if (key == "clear") {
            if (!whole(f.clear_failures)) return false;
        } else if (key == "writefail") {
            if (!whole(f.write_fails_after)) return false;
        } else if (key == "cut") {
            if (!whole(f.cut_after)) return false;
        } else if (key == "busy") {
            if (value == "forever")
                f.busy_polls = kBusyForever;
            else if (!whole(f.busy_polls))
                return false;
        } else if (key == "after") {
            if (!whole(f.after)) return false;
        } else if (key == "speed") {
            if (value.empty())
                f.line_baud = model_baud;
            else if (!whole(f.line_baud) || f.line_baud == 0)
                return false;
        } else if (key == "hangup") {
            if (!whole(f.hangup_after)) return false;
        } else if (key == "trickle") {
            const auto v = number();
            if (!v || *v <= 0) return false;
            f.trickle = *v;
        } else if (key == "noterm" && value.empty()) {
            f.no_terminator = true;
        } else if (key == "babble" && value.empty()) {
            f.babble = true;
        } else if (key == "readfail") {
            if (!whole(f.read_fails_after)) return false;
        } else if (key == "corrupt") {
            if (value == "header")
                f.corrupt_header = true;
            else if (!whole(f.corrupt_point) || f.corrupt_point == 0)
                return false;
        } else if (key == "droplast" && value.empty()) {
            f.drop_last = true;
        } else if (key == "exponent" && value.empty()) {
            f.exponent = true;
        } else {
            return false;
        }
    }
    *this = f;
    return true;
}

Instrument::Instrument(InstrumentModel model) : model_(model) {
    const std::string_view shown =
        model == InstrumentModel::QUA_RIL ? std::string_view("RIL") : designation(model);
    identity_ = "TESSALY,MODEL " + std::string(shown) + ",SIM000001,1.0";
    load_factory_curves();
    const auto& p = profile(model);
    memory_bytes = static_cast<int>(p.write_locations.size()) *
                   (kHeaderBytes + kPointBytes * p.max_breakpoints);
    if (model == InstrumentModel::HOX)
        memory_bytes = kHeaderBytes + kPointBytes * p.max_breakpoints;
}

std::string Instrument::handle(const std::string& command) {
    ++commands_received_;
    // A cut line: nothing reaches the instrument any more.
    if (faults.cut_after >= 0 && commands_received_ > faults.cut_after) return {};
    std::string replies;
    bool any_reply = false;
    std::stringstream in(command);
    std::string part;
    while (std::getline(in, part, ';')) {
        part = trimmed(part);
        if (part.empty()) continue;
        log_.push_back(part);
        if (faults.silent) continue;
        ++parts_handled_;
        const Answer answer = handle_one_answer(part);
        // A point held back by drop_last is lost once a command writes no point after it.
        if (staged_ && staged_->part != parts_handled_) staged_.reset();
        if (answer.kind != Answer::Kind::Reply) continue;
        if (any_reply) replies += ';';
        replies += answer.text;
        any_reply = true;
    }
    if (!any_reply) return {};
    if (!reply_faults_active()) return replies + "\r\n";
    if (faults.babble) return std::string(kBabbleBytes, '#');
    if (faults.garbage) replies = kGarbage;
    return faults.no_terminator ? replies : replies + "\r\n";
}

Answer Instrument::handle_one_answer(const std::string& command) {
    const ModelProfile& p = profile(model_);
    if (command == p.ping) return Answer::reply(identity_);
    for (auto* handler : {&handle_catalogue_command, &handle_headerpoint_command,
                          &handle_kcur_command, &handle_hox_command, &handle_xk_command}) {
        Answer a = handler(*this, command);
        if (a.kind != Answer::Kind::NotMine) return a;
    }
    return Answer::none();
}

const SimCurve* Instrument::curve(int location) const {
    const auto it = curves_.find(location);
    return it == curves_.end() ? nullptr : &it->second;
}

SimCurve* Instrument::mutable_curve(int location) {
    const auto it = curves_.find(location);
    return it == curves_.end() ? nullptr : &it->second;
}

namespace {

// The temperature 1 K higher, in the layout of the text it replaces.
std::string one_kelvin_off(const std::string& text) {
    const double value = parse_leading_number(text) + 1;
    if (text.find_first_of("eE") != std::string::npos) return FormatNoLocale(value, "0.00000E+00");
    const auto dot = text.find('.');
    const std::size_t digits_before = dot == std::string::npos ? text.size() : dot;
    std::string picture(std::max<std::size_t>(1, digits_before - (text[0] == '-' ? 1 : 0)), '0');
    if (dot != std::string::npos) picture += "." + std::string(text.size() - dot - 1, '0');
    return FormatNoLocale(value, picture);
}

}  // namespace

void Instrument::put_point(int location, std::optional<std::size_t> index, SimPoint point) {
    commit_staged();
    const SimCurve* c = curve(location);
    if (!c) return;
    const std::size_t at = index.value_or(c->points.size());
    if (faults.corrupt_point > 0 && at + 1 == static_cast<std::size_t>(faults.corrupt_point))
        point.temperature = one_kelvin_off(point.temperature);
    if (faults.drop_last)
        staged_ = Staged{location, at, std::move(point), parts_handled_};
    else
        insert_point(location, at, std::move(point));
}

void Instrument::insert_point(int location, std::size_t at, SimPoint point) {
    SimCurve* c = mutable_curve(location);
    if (!c) return;
    // A point written past the end leaves zero points in between, as the instrument's memory
    // holds them.
    if (c->points.size() <= at) c->points.resize(at + 1, {"0.00000", "0.000"});
    c->points[at] = std::move(point);
    touch();
}

void Instrument::commit_staged() {
    if (!staged_) return;
    const Staged s = std::move(*staged_);
    staged_.reset();
    insert_point(s.location, s.index, s.point);
}

std::string Instrument::reply_number(const std::string& text) const {
    if (!faults.exponent || !is_numeric_text(text)) return text;
    char out[40];
    const auto end = std::to_chars(out, out + sizeof out, parse_leading_number(text),
                                   std::chars_format::scientific)
                         .ptr;
    std::string number(out, end);
    for (char& ch : number)
        if (ch == 'e') ch = 'E';
    return number;
}

void Instrument::store(int location, SimCurve curve) {
    curves_[location] = std::move(curve);
    ++revision_;
}

void Instrument::erase(int location) {
    if (curves_.erase(location) > 0) ++revision_;
}

bool Instrument::is_location(int location) const {
    if (model_ == InstrumentModel::HOX) return location == kHoxLocation;
    const auto& list = profile(model_).read_locations;
    return std::find(list.begin(), list.end(), location) != list.end();
}

bool Instrument::is_writable(int location) const {
    if (model_ == InstrumentModel::HOX) return location == kHoxLocation;
    const auto& list = profile(model_).write_locations;
    return std::find(list.begin(), list.end(), location) != list.end();
}

bool Instrument::is_factory(int location) const {
    return is_location(location) && !is_writable(location);
}

int Instrument::free_bytes() const {
    // Each user curve costs a header block plus a fixed record per point.
    int used = 0;
    for (const auto& [location, c] : curves_)
        if (is_writable(location))
            used += kHeaderBytes + kPointBytes * static_cast<int>(c.points.size());
    return std::max(0, memory_bytes - used);
}

std::string Instrument::save_state() const {
    std::string out = "KELVARA-SIM-STATE 1\nMODEL " + std::string(designation(model_)) + "\n";
    for (const auto& [location, c] : curves_) {
        if (!is_writable(location)) continue;
        out += "CURVE " + std::to_string(location) + "\n";
        out += "NAME " + c.name + "\n";
        out += "SERIAL " + c.serial + "\n";
        out += "HEADER " + c.header + "\n";
        out += "FORMAT " + c.format + "\n";
        out += "LIMIT " + c.limit + "\n";
        out += "COEF " + c.coefficient + "\n";
        for (const auto& pt : c.points) out += "POINT\t" + pt.units + "\t" + pt.temperature + "\n";
        out += "END\n";
    }
    return out;
}

bool Instrument::load_state(const std::string& text) {
    std::stringstream in(text);
    std::string line;
    if (!std::getline(in, line) || line != "KELVARA-SIM-STATE 1") return false;
    if (!std::getline(in, line) || line != "MODEL " + std::string(designation(model_)))
        return false;
    std::map<int, SimCurve> loaded;
    SimCurve current;
    int location = -1;
    const auto field = [&](const char* key, std::string& target) {
        const std::string prefix = std::string(key) + " ";
        if (line.rfind(prefix, 0) != 0) return false;
        target = line.substr(prefix.size());
        return true;
    };
    while (std::getline(in, line)) {
        if (location < 0) {
            if (line.empty()) continue;
            if (line.rfind("CURVE ", 0) != 0) return false;
            const auto n = to_int32(line.substr(6));
            if (!n || !is_writable(*n)) return false;
            location = *n;
            current = SimCurve{};
            continue;
        }
        if (line == "END") {
            loaded[location] = current;
            location = -1;
        } else if (line.rfind("POINT\t", 0) == 0) {
            const auto tab = line.find('\t', 6);
            if (tab == std::string::npos) return false;
            current.points.push_back({line.substr(6, tab - 6), line.substr(tab + 1)});
        } else if (!(field("NAME", current.name) || field("SERIAL", current.serial) ||
                     field("HEADER", current.header) || field("FORMAT", current.format) ||
                     field("LIMIT", current.limit) || field("COEF", current.coefficient))) {
            return false;
        }
    }
    if (location >= 0) return false;
    std::erase_if(curves_, [&](const auto& entry) { return is_writable(entry.first); });
    curves_.merge(loaded);
    ++revision_;
    return true;
}

}  // namespace kelvara::sim
