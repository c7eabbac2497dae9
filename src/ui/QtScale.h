#pragma once

#include <QByteArray>
#include <string_view>
#include <utility>
#include <vector>

namespace kasto {

// Makes Qt use one scale for the windows on all screens: the one that captures and the pointer use too.
//
// Qt reads its scale from several environment variables, from the desktop's settings and from the monitors,
// at the moment its application object is made; there is no call for it. So this is made before the
// application object: it sets the variables. It can go as soon as the application object exists, and restores
// them, so that programs started later do not inherit them. Main thread.
class QtScale {
public:
    explicit QtScale(double pixelsPerPoint);
    ~QtScale();
    QtScale(const QtScale&) = delete;
    QtScale& operator=(const QtScale&) = delete;

private:
    void replace(const char* name, const QByteArray& value);

    std::vector<std::pair<const char*, QByteArray>> former_;  // a null value stands for an unset variable
};

}  // namespace kasto
