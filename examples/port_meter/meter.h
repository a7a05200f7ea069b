// The module at work: a timer wakes a task that reads the counters; a message sets the limit.
#ifndef PORT_METER_METER_H
#define PORT_METER_METER_H

#include <dxr_devhost.h>

#include <cstdint>

#include "overload.h"
#include "port_meter.h"

namespace port_meter {

class Meter {
  public:
    // Takes all it needs of the platform. Whatever it returns, End gives back what it has.
    bool Begin(uint32_t ports);
    void End();

    // Waits until a message stops the module; at most so many seconds, 0: without end.
    void Run(uint32_t seconds);

  private:
    struct Port {
        uint32_t counter;
        Overload overload;
    };

    static void OnTimer(void *meter);
    static void RunTask(void *meter);
    static uint32_t OnMessage(const DxrHostMessage *message, void *meter);

    bool Register();
    bool StartTask();
    bool StartTimer();
    bool OpenMailbox();
    void Measure();
    void TakeRate(uint32_t number, Port &port, uint32_t rate, uint32_t limit);
    uint32_t Limit();
    void SetLimit(uint32_t limit);

    bool isRegistered_ = false;
    bool hasMailbox_ = false;
    uint32_t count_ = 0;
    Port *ports_ = nullptr;    // of the host's memory
    uint32_t mainTask_ = 0;    // waits in Run
    uint32_t task_ = 0;        // measures; 0: there is none
    DxrHostTimer timer_ = {};  // without a handle while it is not started
    void *mutex_ = nullptr;    // guards what follows
    uint32_t limit_ = kDefaultLimit;
};

}  // namespace port_meter

#endif  // PORT_METER_METER_H
