#include "curve/number_format.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <system_error>

namespace kelvara {

namespace {

// A finite non-negative value as decimal digits: value = 0.d1d2d3... x 10^point.
struct Decimal {
    std::string digits;  // no leading zeros; empty for zero
    int point = 0;
};

Decimal to_decimal(double magnitude) {
    Decimal d;
    if (magnitude == 0) return d;
    char buf[64];
    auto res = std::to_chars(buf, buf + sizeof buf, magnitude, std::chars_format::scientific);
    std::string s(buf, res.ptr);
    auto e = s.find('e');
    int exp10 = std::atoi(s.c_str() + e + 1);
    for (size_t i = 0; i < e; ++i)
        if (s[i] != '.') d.digits += s[i];
    d.point = exp10 + 1;
    while (!d.digits.empty() && d.digits.back() == '0') d.digits.pop_back();
    return d;
}

// Rounds to `kept` significant digits (half away from zero); may lengthen point by one.
void round_digits(Decimal& d, int kept) {
    if (kept < 0) {
        d.digits.clear();
        return;
    }
    if (static_cast<int>(d.digits.size()) <= kept) return;
    bool up = d.digits[kept] >= '5';
    d.digits.resize(kept);
    if (up) {
        int i = kept - 1;
        while (i >= 0 && d.digits[i] == '9') {
            d.digits[i] = '0';
            --i;
        }
        if (i < 0) {
            d.digits.insert(d.digits.begin(), '1');
            d.point += 1;
        } else {
            d.digits[i] += 1;
        }
    }
    while (!d.digits.empty() && d.digits.back() == '0') d.digits.pop_back();
    if (d.digits.empty()) d.point = 0;
}

struct FixedParts {
    std::string integer;   // no leading zeros, "" for 0
    std::string fraction;  // exactly `places` digits
};

FixedParts fixed_parts(double magnitude, int places) {
    Decimal d = to_decimal(magnitude);
    round_digits(d, d.point + places);
    FixedParts p;
    for (int i = 0; i < d.point; ++i)
        p.integer += i < static_cast<int>(d.digits.size()) ? d.digits[i] : '0';
    for (int i = 0; i < places; ++i) {
        int idx = d.point + i;
        p.fraction += (idx >= 0 && idx < static_cast<int>(d.digits.size())) ? d.digits[idx] : '0';
    }
    return p;
}

bool is_placeholder(char c) {
    return c == '0' || c == '#';
}

// Formats |value| with a fixed picture made of an optional literal prefix, integer
// placeholders, an optional "." and fraction placeholders.
std::string format_fixed(double magnitude, std::string_view picture) {
    size_t first = 0;
    while (first < picture.size() && !is_placeholder(picture[first]) && picture[first] != '.')
        ++first;
    std::string prefix(picture.substr(0, first));
    std::string_view body = picture.substr(first);
    size_t dot = body.find('.');
    std::string_view int_pic = body.substr(0, dot);
    std::string_view frac_pic =
        dot == std::string_view::npos ? std::string_view() : body.substr(dot + 1);

    int min_int = 0;
    for (char c : int_pic)
        if (c == '0') ++min_int;
    int places = static_cast<int>(frac_pic.size());

    FixedParts p = fixed_parts(magnitude, places);
    std::string integer = p.integer;
    while (static_cast<int>(integer.size()) < min_int) integer.insert(integer.begin(), '0');

    std::string fraction = p.fraction;
    // Optional fraction digits ("#") are dropped from the right while they are zeros.
    int keep = places;
    while (keep > 0 && frac_pic[keep - 1] == '#' && fraction[keep - 1] == '0') --keep;
    fraction.resize(keep);

    std::string out = prefix + integer;
    if (dot != std::string_view::npos) out += "." + fraction;
    return out;
}

std::string format_scientific(double magnitude, std::string_view picture, size_t e_pos) {
    std::string_view mant_pic = picture.substr(0, e_pos);
    char letter = picture[e_pos];
    char sign_mode = e_pos + 1 < picture.size() ? picture[e_pos + 1] : '-';
    std::string_view exp_pic = e_pos + 2 <= picture.size() ? picture.substr(e_pos + 2) : "";
    int min_exp_digits = 0;
    for (char c : exp_pic)
        if (c == '0') ++min_exp_digits;

    size_t dot = mant_pic.find('.');
    int int_places = 0;
    for (size_t i = 0; i < (dot == std::string_view::npos ? mant_pic.size() : dot); ++i)
        if (is_placeholder(mant_pic[i])) ++int_places;
    if (int_places < 1) int_places = 1;
    int places = dot == std::string_view::npos ? 0 : static_cast<int>(mant_pic.size() - dot - 1);

    Decimal d = to_decimal(magnitude);
    int exponent = 0;
    if (!d.digits.empty()) {
        round_digits(d, int_places + places);
        exponent = d.point - int_places;
    }
    std::string mant;
    for (int i = 0; i < int_places; ++i)
        mant += i < static_cast<int>(d.digits.size()) ? d.digits[i] : '0';
    // Leading zeros of the integer part beyond the first digit never appear: int_places is 1 in
    // every picture the program uses.
    if (dot != std::string_view::npos) {
        mant += '.';
        for (int i = 0; i < places; ++i) {
            int idx = int_places + i;
            mant += idx < static_cast<int>(d.digits.size()) ? d.digits[idx] : '0';
        }
    }
    std::string exp_digits = std::to_string(std::abs(exponent));
    while (static_cast<int>(exp_digits.size()) < min_exp_digits) exp_digits.insert(0, "0");
    std::string sign;
    if (exponent < 0)
        sign = "-";
    else if (sign_mode == '+')
        sign = "+";
    return mant + letter + sign + exp_digits;
}

bool is_sep_blank(char c) {
    return c == ' ' || c == '\t';
}

// Length of the numeric prefix of s (sign, digits, point, exponent); 0 if none.
size_t numeric_prefix(std::string_view s, bool& has_digits) {
    size_t i = 0;
    has_digits = false;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) {
        ++i;
        has_digits = true;
    }
    if (i < s.size() && s[i] == '.') {
        ++i;
        while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) {
            ++i;
            has_digits = true;
        }
    }
    if (!has_digits) return 0;
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
        size_t j = i + 1;
        if (j < s.size() && (s[j] == '+' || s[j] == '-')) ++j;
        if (j < s.size() && std::isdigit(static_cast<unsigned char>(s[j]))) {
            while (j < s.size() && std::isdigit(static_cast<unsigned char>(s[j]))) ++j;
            i = j;
        }
    }
    return i;
}

double convert_prefix(std::string_view s) {
    std::string_view body = s;
    bool negative = false;
    if (!body.empty() && (body[0] == '+' || body[0] == '-')) {
        negative = body[0] == '-';
        body.remove_prefix(1);
    }
    double v = 0;
    auto res = std::from_chars(body.data(), body.data() + body.size(), v);
    if (res.ec == std::errc::result_out_of_range) {
        // Too large: infinity would poison every later computation; saturate instead.
        v = (body.find_first_of("eE") != std::string_view::npos &&
             body.find("e-") == std::string_view::npos && body.find("E-") == std::string_view::npos)
                ? std::numeric_limits<double>::max()
                : 0.0;
    } else if (res.ec != std::errc()) {
        v = 0;
    }
    return negative ? -v : v;
}

}  // namespace

std::string FormatNoLocale(double value, std::string_view picture) {
    if (!std::isfinite(value)) value = 0;
    double magnitude = std::fabs(value);
    std::string body;
    size_t e_pos = picture.find_first_of("eE");
    if (e_pos != std::string_view::npos && e_pos + 1 < picture.size() &&
        (picture[e_pos + 1] == '-' || picture[e_pos + 1] == '+'))
        body = format_scientific(magnitude, picture, e_pos);
    else
        body = format_fixed(magnitude, picture);
    // A negative value keeps its sign even when it rounds to zero (-0.0000001 gives "-.000000");
    // a negative zero is no negative value.
    std::string out = value < 0 ? "-" + body : body;
    for (char& c : out)
        if (c == ',') c = '.';
    return out;
}

const char* sensor_units_picture(double value) {
    return value < 0.999995  ? ".000000"
           : value < 9.99995 ? "0.00000"
           : value < 99.9995 ? "00.0000"
           : value < 999.995 ? "000.000"
           : value < 9999.95 ? "0000.00"
           : value < 99999.5 ? "00000.0"
                             : "000000.";
}

const char* temperature_picture(double value) {
    return value < 0      ? "0.00000e-00"
           : value < 10   ? "0.00000"
           : value < 100  ? "00.0000"
           : value < 1000 ? "000.000"
                          : "0000.00";
}

const char* temperature_wun_picture(double value) {
    return value >= 0 && value < 1 ? "0.00000e-#0" : temperature_picture(value);
}

std::string format_sensor_units(double value) {
    return FormatNoLocale(value, sensor_units_picture(value));
}

std::string format_temperature(double value) {
    return FormatNoLocale(value, temperature_picture(value));
}

std::string format_temperature_wun(double value) {
    return FormatNoLocale(value, temperature_wun_picture(value));
}

double parse_leading_number(std::string_view text) {
    size_t i = 0;
    while (i < text.size() && is_sep_blank(text[i])) ++i;
    std::string_view rest = text.substr(i);
    bool has_digits = false;
    size_t n = numeric_prefix(rest, has_digits);
    if (n == 0) return 0;
    return convert_prefix(rest.substr(0, n));
}

static std::string_view trim_all(std::string_view t) {
    auto ws = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!t.empty() && ws(t.front())) t.remove_prefix(1);
    while (!t.empty() && ws(t.back())) t.remove_suffix(1);
    return t;
}

bool is_numeric_text(std::string_view text) {
    std::string_view t = trim_all(text);
    bool has_digits = false;
    size_t n = numeric_prefix(t, has_digits);
    return n > 0 && n == t.size();
}

std::optional<int> to_int32(std::string_view text) {
    if (!is_numeric_text(text)) return std::nullopt;
    double v = convert_prefix(trim_all(text));
    double r = std::nearbyint(v);  // default rounding mode: half to even
    if (!(r >= -2147483648.0 && r <= 2147483647.0)) return std::nullopt;
    return static_cast<int>(r);
}

std::optional<int> truncate_to_int(double value) {
    const double whole = std::trunc(value);
    if (!(whole >= -2147483648.0 && whole <= 2147483647.0)) return std::nullopt;
    return static_cast<int>(whole);
}

std::string shortest_text(double value) {
    if (!std::isfinite(value)) return "0";
    char buf[64];
    auto res = std::to_chars(buf, buf + sizeof buf, value);
    return std::string(buf, res.ptr);
}

std::string general_text(double value) {
    if (!std::isfinite(value)) return "0";
    if (value == 0) return "0";
    // Up to 15 significant digits, as a field shows a double.
    char buf[64];
    auto res = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::general, 15);
    double fifteen = std::strtod(std::string(buf, res.ptr).c_str(), nullptr);
    res = std::to_chars(buf, buf + sizeof buf, fifteen);
    std::string s(buf, res.ptr);
    auto e = s.find('e');
    if (e == std::string::npos) return s;
    int exp10 = std::atoi(s.c_str() + e + 1);
    if (exp10 >= -5 && exp10 < 15) {
        // Prefer fixed notation in the usual range.
        res = std::to_chars(buf, buf + sizeof buf, fifteen, std::chars_format::fixed);
        return std::string(buf, res.ptr);
    }
    std::string mant = s.substr(0, e);
    std::string digits = std::to_string(std::abs(exp10));
    if (digits.size() < 2) digits.insert(0, "0");
    return mant + "E" + (exp10 < 0 ? "-" : "+") + digits;
}

std::string trim_blanks(std::string_view text) {
    while (!text.empty() && is_sep_blank(text.front())) text.remove_prefix(1);
    while (!text.empty() && is_sep_blank(text.back())) text.remove_suffix(1);
    return std::string(text);
}

}  // namespace kelvara
