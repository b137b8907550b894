@0xc5a9f3c1d2e84b07;

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("peers");

struct CapnpRecord {
  id @0 :UInt32;
  time @1 :Int64;
  name @2 :Data;
  value @3 :Float64;
}

struct CapnpRecords {
  records @0 :List(CapnpRecord);
}
