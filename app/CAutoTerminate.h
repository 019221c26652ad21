// The scope guard that ends the application when a delegate method is left
// by any path: nothing when disabled; with an exit status other than 0 the
// process ends at once with it; otherwise the application is asked to
// terminate, which the delegate may refuse.
#pragma once

class CAutoTerminate {
public:
    CAutoTerminate(bool enabled, int exitStatus) : m_bEnabled(enabled), m_exitStatus(exitStatus) {}
    // Ends the application as the fields say when they are left.
    ~CAutoTerminate();
    CAutoTerminate(const CAutoTerminate&) = delete;
    CAutoTerminate& operator=(const CAutoTerminate&) = delete;

    bool m_bEnabled;  // the guard acts only while true
    int m_exitStatus; // 0: terminate through the application; else exit() with it
};
