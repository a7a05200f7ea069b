#include "message_transport.h"

namespace devhost {
namespace {

class InProcessTransport : public MessageTransport {
  public:
    explicit InProcessTransport(MessageReceiver &receiver) : receiver_(receiver) {}

    [[nodiscard]] bool Reaches(const DxrHostUnit &unit) const override {
        return receiver_.HasMailbox(unit);
    }

    uint32_t Carry(Letters &letter) override { return receiver_.Arrive(letter); }

    bool Acknowledge(const DxrHostMessage &message, uint32_t result) override {
        return receiver_.Acknowledged(message.sequence, result);
    }

  private:
    MessageReceiver &receiver_;
};

}  // namespace

std::unique_ptr<MessageTransport> MakeInProcessTransport(MessageReceiver &receiver) {
    return std::make_unique<InProcessTransport>(receiver);
}

}  // namespace devhost
