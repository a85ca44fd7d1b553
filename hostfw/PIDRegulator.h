#pragma once

#include "hostfw/Export.h"

// A discrete PID controller.
class MULTIMEDIA_EXPORT PIDRegulator
{
public:
    // `period`: seconds between two updates; must be above 0.
    PIDRegulator(double proportional, double integral, double derivative, double period);

    // The correction for this period's error (set point minus measured value).
    double update(double error);
    void reset();

private:
    double m_proportional;
    double m_integral;
    double m_derivative;
    double m_period;
    double m_sum = 0.0;
    double m_lastError = 0.0;
    bool m_hasLastError = false;
};
