#include "app/CAutoTerminate.h"

#include <cstdlib>

#include "app/AUApplication.h"

CAutoTerminate::~CAutoTerminate() {
    if (!m_bEnabled) {
        return;
    }
    if (m_exitStatus != 0) {
        std::exit(m_exitStatus); // at once, bypassing the delegate, as the installer expects
    }
    AUApplication::sharedApplication().terminate(nullptr);
}
