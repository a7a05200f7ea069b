/* The host's KPI service: the one slot of the Kpi group.
 *
 *   DXR_UpdateKpiAttrVal(attribute, value)   gives an attribute of a key performance indicator, a
 *                                            DxrHostKpiAttribute, its next value. 0; EINVAL,
 *                                            reported, for a null pointer, one that is not aligned
 *                                            and a record of another size; ENOMEM without memory
 *                                            (point "kpi.update"), and ENOSPC, reported, for
 *                                            another attribute when DXR_HOST_MOST_KPIS have values:
 *                                            nothing has changed then; ECANCELED without a host
 *
 * An attribute exists from its first value on. The host keeps the latest value and counts: how many
 * values there were, their sum, the least, the greatest, and when the first and the latest came.
 * Nothing of that is left behind at the host's end.
 *
 * Any thread may call any of these functions at any time; values of one attribute that come from
 * several threads are counted one after the other.
 *
 * Cost: the logarithm of how many attributes have a value; DxrHostGetKpi goes over those before the
 * one it copies, DxrHostForgetKpis over all. */
#ifndef DXR_DEVHOST_KPI_H
#define DXR_DEVHOST_KPI_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* How many attributes are kept. */
#define DXR_HOST_MOST_KPIS 10000u

/* An attribute of an indicator of an object; any numbers. */
typedef struct DxrHostKpiAttribute {
    uint32_t size;      /* sizeof(DxrHostKpiAttribute) */
    uint32_t indicator; /* what is measured */
    uint32_t object;    /* where: a port, a queue, a board */
    uint32_t attribute; /* which of the indicator's values */
} DxrHostKpiAttribute;

DXR_STATIC_ASSERT(sizeof(DxrHostKpiAttribute) == 16, "modules build the record: fixed layout");

/* What is known of an attribute. Times are milliseconds since 1970, of the host's clock. */
typedef struct DxrHostKpi {
    DxrHostKpiAttribute attribute;
    uint32_t value; /* the latest */
    uint32_t least;
    uint32_t most;
    uint32_t reserved;
    uint64_t updates; /* how many values there were */
    uint64_t sum;     /* of all values, modulo 2^64 */
    uint64_t firstMs;
    uint64_t latestMs;
} DxrHostKpi;

DXR_STATIC_ASSERT(sizeof(DxrHostKpi) == 64, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrHostKpi, updates) == 32, "fixed layout");

/* What is known of an attribute. Returns false when it has no value, or either pointer is null. */
DXR_API bool DxrHostFindKpi(DxrHost *host, const DxrHostKpiAttribute *attribute, DxrHostKpi *kpi);

/* How many attributes have a value. */
DXR_API uint32_t DxrHostGetKpiCount(DxrHost *host);

/* Copies attribute `index` in the order of indicator, object, attribute. Returns false when there
 * is none. */
DXR_API bool DxrHostGetKpi(DxrHost *host, uint32_t index, DxrHostKpi *kpi);

/* Forgets all values. */
DXR_API void DxrHostForgetKpis(DxrHost *host);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_KPI_H */
