#include "ui/user_settings.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>

namespace kelvara::ui {

namespace {

constexpr const char* kRecentKey = "files/recent";
constexpr const char* kFolderKey = "files/lastFolder";
constexpr const char* kModelKey = "setup/model";
constexpr const char* kInterfaceKey = "setup/interface";
constexpr const char* kAddressKey = "setup/gpibAddress";
constexpr const char* kPortKey = "setup/serialPort";
constexpr const char* kVerifyKey = "instrument/verifyAfterWriting";

// Interfaces by name, so that a settings file stays readable and a renumbering cannot turn one
// interface into another.
constexpr std::pair<Interface, const char*> kInterfaceNames[] = {
    {Interface::GPIB, "GPIB"}, {Interface::RS232, "RS-232"}, {Interface::None, "none"}};

void store_recent(const QStringList& files) {
    QSettings().setValue(QLatin1String(kRecentKey), files);
}

std::optional<int> number_in(const QVariant& value, int low, int high) {
    bool ok = false;
    const int n = value.toInt(&ok);
    if (!ok || n < low || n > high) return std::nullopt;
    return n;
}

}  // namespace

QStringList recent_files() {
    QStringList files = QSettings().value(QLatin1String(kRecentKey)).toStringList();
    files.removeAll(QString());
    files.removeDuplicates();
    return files.mid(0, kRecentFileCount);
}

void add_recent_file(const QString& path) {
    const QString file = QFileInfo(path).absoluteFilePath();
    QStringList files = recent_files();
    files.removeAll(file);
    files.prepend(file);
    store_recent(files.mid(0, kRecentFileCount));
}

void remove_recent_file(const QString& path) {
    QStringList files = recent_files();
    files.removeAll(path);
    store_recent(files);
}

void clear_recent_files() {
    store_recent({});
}

QString last_file_folder() {
    const QString folder = QSettings().value(QLatin1String(kFolderKey)).toString();
    return QDir(folder).exists() ? folder : QString();
}

void remember_folder_of(const QString& file_path) {
    QSettings().setValue(QLatin1String(kFolderKey), QFileInfo(file_path).absolutePath());
}

RememberedSetup remembered_setup() {
    QSettings settings;
    RememberedSetup r;
    r.model =
        model_from_designation(settings.value(QLatin1String(kModelKey)).toString().toStdString());
    const QString interface = settings.value(QLatin1String(kInterfaceKey)).toString();
    for (auto [value, name] : kInterfaceNames)
        if (interface == QLatin1String(name)) r.interface = value;
    r.gpib_address = number_in(settings.value(QLatin1String(kAddressKey)), 1, 32);
    r.serial_port = number_in(settings.value(QLatin1String(kPortKey)), 1, 16);
    return r;
}

void remember_setup(InstrumentModel model, Interface chosen, int gpib_address, int serial_port) {
    QSettings settings;
    const auto name = designation(model);
    settings.setValue(QLatin1String(kModelKey), QString::fromLatin1(name.data(), name.size()));
    for (auto [value, text] : kInterfaceNames)
        if (value == chosen) settings.setValue(QLatin1String(kInterfaceKey), QLatin1String(text));
    settings.setValue(QLatin1String(kAddressKey), gpib_address);
    settings.setValue(QLatin1String(kPortKey), serial_port);
}

bool verify_after_writing() {
    return QSettings().value(QLatin1String(kVerifyKey), true).toBool();
}

void set_verify_after_writing(bool on) {
    QSettings().setValue(QLatin1String(kVerifyKey), on);
}

}  // namespace kelvara::ui
