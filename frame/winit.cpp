// qorWinit and qorWterm: a context whose control table may come from a shared
// library, with a temporary trace file for a viewer. Message boxes become
// notices on standard error.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <unistd.h>

#include "frame/errors.h"
#include "harness/trace.h"

using namespace qor;

namespace {

using GetHeader = QorControlTable *(*)(int);

} // namespace

extern "C" {

int qorWinit(QorGlobal *world, QorControlTable *ctl, const char *library, void *window)
{
    if (world == nullptr || (ctl == nullptr && library == nullptr)) {
        showMessage("QorGlobal/Control Table Pointer Is NULL", "Error");
        return QOR_BAD_ARG;
    }
    void *handle = nullptr;
    if (ctl == nullptr) {
        memset(world, 0, sizeof *world);
        handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
        void *symbol = handle != nullptr ? dlsym(handle, "qorGetHeader") : nullptr;
        if (symbol != nullptr)
            ctl = reinterpret_cast<GetHeader>(symbol)(0);
        if (ctl == nullptr) {
            if (handle != nullptr)
                dlclose(handle);
            setContextDefaults(world);
            earlyError(world, Msg::kLibraryLoadFailed, stringValue(library), false);
            return QOR_LIBRARY_LOAD_FAILED;
        }
    }
    int result = qorinit(world, ctl);
    if (result != 0) {
        showMessage("Cannot Initialize in Qorinit()", "Error");
        if (handle != nullptr)
            dlclose(handle);
        return result;
    }
    world->privateArea->libraryHandle = handle;
    if (window != nullptr) {
        world->traceWindow = window;
        if (!openTraceTemp(world)) {
            showMessage("Unable To Open a Temporary File", "Error");
            qorWterm(world);
            return 27;
        }
    }
    return 0;
}

void qorWterm(QorGlobal *world)
{
    if (world == nullptr)
        return;
    QorGlobalPrivate *p = world->privateArea;
    void *handle = nullptr;
    closeTraceTemp(world);
    if (p != nullptr)
        handle = p->libraryHandle;
    world->traceWindow = nullptr;
    qorterm(world);
    if (handle != nullptr)
        dlclose(handle);
}

} // extern "C"
