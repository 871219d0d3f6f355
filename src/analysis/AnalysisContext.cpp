#include "analysis/AnalysisContext.h"

namespace corvane {

AnalysisContext::AnalysisContext() : m_leadSet(std::make_shared<LeadSet>())
{
    lstResult.setObjectName(QStringLiteral("lstResult"));
    lstDetails.setObjectName(QStringLiteral("lstDetails"));
    lstURLList.setObjectName(QStringLiteral("lstURLList"));
    lstMailList.setObjectName(QStringLiteral("lstMailList"));
}

} // namespace corvane
