/* Which links lose their carrier too often. The library's fault rules are C++ classes; this is what
 * of them a module in C needs. */
#ifndef LINK_FAULTS_H
#define LINK_FAULTS_H

#include <dxr_api.h>

DXR_EXTERN_C_BEGIN

typedef struct LinkFaults LinkFaults;

/* Counters for so many links, and a rule: a link is faulty while its latest `losses` losses lie
 * within `sec` seconds. Null without memory, which is accounted to `mid`. */
LinkFaults *LinkFaultsCreate(uint32_t mid, uint32_t links, uint32_t losses, uint32_t sec);
void LinkFaultsDestroy(LinkFaults *faults);

/* Counts a loss, now. */
void LinkFaultsCount(LinkFaults *faults, uint32_t link);

bool LinkFaultsIsFaulty(const LinkFaults *faults, uint32_t link);

DXR_EXTERN_C_END

#endif /* LINK_FAULTS_H */
