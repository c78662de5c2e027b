// Starts wxWidgets' base library and ends: the floor of every program that uses it.
// With the argument "wait" it then waits for a signal.

#include <wx/init.h>

#include <unistd.h>

int main(int argc, char**) {
    wxInitializer const wx;
    if (argc > 1)
        pause();
    return wx.IsOk() ? 0 : 1;
}
