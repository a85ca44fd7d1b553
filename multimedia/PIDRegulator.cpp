#include "hostfw/PIDRegulator.h"

PIDRegulator::PIDRegulator(double proportional, double integral, double derivative, double period)
    : m_proportional(proportional), m_integral(integral), m_derivative(derivative), m_period(period)
{
}

double PIDRegulator::update(double error)
{
    m_sum += error * m_period;
    const double slope = m_hasLastError ? (error - m_lastError) / m_period : 0.0;
    m_lastError = error;
    m_hasLastError = true;
    return m_proportional * error + m_integral * m_sum + m_derivative * slope;
}

void PIDRegulator::reset()
{
    m_sum = 0.0;
    m_lastError = 0.0;
    m_hasLastError = false;
}
