@0xd0f3a4b7c1926e85;

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("bench::capnproto");

struct Letter {
    destinationQueueName @0 :Text;
    destinationQueueManagerName @1 :Text;
    putApplicationName @2 :Text;
    putDate @3 :Text;
    putTime @4 :Text;
    format @5 :Text;
    body @6 :Data;
}
