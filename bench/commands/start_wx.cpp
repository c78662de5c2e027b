// A floor: starts wxWidgets' base library and ends. With the argument "wait", waits for a signal first.

#include <wx/init.h>

#include <unistd.h>

int main(int argc, char**) {
    wxInitializer const wx;
    if (argc > 1)
        pause();
    return wx.IsOk() ? 0 : 1;
}
