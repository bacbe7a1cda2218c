// STAND-IN for tests: the objects a client sees, by late binding only.
#pragma once

struct IDispatch;

namespace ovs::standin {

// The object behind the moniker. ExecNotificationQuery(query) gives an event source;
//   source.NextEvent([milliseconds]) gives an event, waiting without end when the time is missing or -1;
//   event.TargetInstance gives the record;
//   record.EventType and the other six properties give values, typed as the real service types them.
// ExecQuery(query, "WQL", flags) gives a collection of records (see LogQuery.h) that can be gone through once.
// The caller owns one reference. Throws std::bad_alloc.
IDispatch* NewServices();

// Objects alive; the server may leave memory when there are none.
long LiveObjects() noexcept;

}  // namespace ovs::standin
