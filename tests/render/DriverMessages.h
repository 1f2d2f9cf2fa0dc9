#pragma once

namespace velorin::test {

// Every test of a program with DriverMessages.cpp in it runs in a debug context and fails when the driver had
// a message of high severity during it. This is for one that makes the driver complain on purpose: what it
// said up to here is forgiven.
void ForgiveDriverMessages();

} // namespace velorin::test
