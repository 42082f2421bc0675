#pragma once

// Defines all messages that records are built from. Not installed.

#include <pelorin/protobuf/CT/header.pb.h>
#include <pelorin/protobuf/Glimmet/bodies.pb.h>
#include <pelorin/protobuf/Glimmet/error.pb.h>
#include <pelorin/protobuf/Glimmet/functions.pb.h>
#include <pelorin/protobuf/Glimmet/headers.pb.h>
#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <pelorin/protobuf/Glimmet/storage.pb.h>
#include <pelorin/protobuf/Glimmet/superglobals.pb.h>
#include <pelorin/protobuf/Monitor/event.pb.h>
#include <pelorin/protobuf/Monitor/superglobals.pb.h>
#include <pelorin/protobuf/PelorinPHP/rinit_data.pb.h>
#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>
#include <tarnwick/rpc/codetrace/v1/notify_request.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>
#include <tarnwick/rpc/monitor/v1/notify_request.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>
