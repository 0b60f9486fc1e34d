#include "SimulatorFixture.h"

#include "Parsing.h"

#include <vector>

SimulatorFixture::SimulatorFixture()
{
    add(textId, ValueKind::string, 6, true, "abc");
    add(byteId, ValueKind::unsignedInteger, 1, true, "200");
    add(longId, ValueKind::signedInteger, 4, true, "-2");
    add(blockId, ValueKind::other, 3, true, "010203");
    add(fixedId, ValueKind::unsignedInteger, 2, false, "0x1234");
}

std::string SimulatorFixture::answerTo(std::string_view request)
{
    const Exchange answered = exchange(request);
    return answered.copies == 0 ? std::string() : parsing::hexText(answered.answer);
}

Exchange SimulatorFixture::exchange(std::string_view request)
{
    return exchangeWith(_answerer, request);
}

Exchange SimulatorFixture::exchangeWith(FrameAnswerer &answerer, std::string_view request)
{
    Exchange exchange = answerer.take(parsing::hexBytes(request));
    answerer.carryOut(exchange);
    return exchange;
}

Exchange SimulatorFixture::take(std::string_view request)
{
    return _answerer.take(parsing::hexBytes(request));
}

void SimulatorFixture::carryOut(Exchange &exchange)
{
    _answerer.carryOut(exchange);
}

std::string SimulatorFixture::read(std::uint16_t id)
{
    const std::vector<std::uint8_t> bytes{static_cast<std::uint8_t>(id),
                                          static_cast<std::uint8_t>(id >> 8)};
    return answerTo("02 07 " + parsing::hexText(bytes) + " 00 00 00 00");
}

void SimulatorFixture::spoil(std::uint16_t id, std::string_view fault)
{
    device.faults.setFor(id, Fault::parse(parsing::words(fault)));
}

void SimulatorFixture::spoilAll(std::string_view fault)
{
    device.faults.setForAll(Fault::parse(parsing::words(fault)));
}

std::string SimulatorFixture::valueOf(std::uint16_t id)
{
    return device.objects.at(id).text();
}

void SimulatorFixture::add(std::uint16_t id, ValueKind kind, std::size_t width, bool writable,
                           std::string_view value)
{
    device.objects.emplace(id, DeviceObject(id, kind, width, writable))
        .first->second.setText(value);
}
