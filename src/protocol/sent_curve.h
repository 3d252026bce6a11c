// What a write procedure put on the wire, kept so that the location can be read back and
// compared with it: a write reports success only once the instrument is seen to hold it.
#pragma once

#include <string>
#include <vector>

namespace kelvara {

// A number as it went out, and the picture it was formatted with: a value read back agrees
// when the same picture turns it into the same text ("1.2345E-1" agrees with ".123450").
struct SentNumber {
    std::string text;
    std::string picture;
};

struct SentPoint {
    SentNumber units;
    SentNumber temperature;
};

// Which command set carried the curve, and so which header fields were sent.
enum class SentForm { None, HeaderPoint, Kcur, Xk, Hox };

struct SentCurve {
    SentForm form = SentForm::None;
    // The location as the read list names it ("21"; "11" for KOR and LUM; "04"); "" for HOX.
    std::string location;
    // Header/point: name and serial number after their cuts, without the RIL's quotes; the codes
    // and the setpoint limit as sent (" 375"). HOX: `serial` is the serial number sent.
    std::string name;
    std::string serial;
    int data_format = 0;
    std::string setpoint_limit;
    int coefficient = 0;
    // KCUR/CURV and XK/XC: the one header field: three code characters, name, serial number.
    std::string header_field;
    // Every point in the order sent (the older models: the scaled transfer arrays; HOX: the 192
    // grid points).
    std::vector<SentPoint> points;
};

}  // namespace kelvara
