#pragma once
// All of PolypiaGL.

#include <PolypiaGL/ContextError.hpp>
#include <PolypiaGL/EglContext.hpp>
#include <PolypiaGL/FrameBudget.hpp>
#include <PolypiaGL/GLContext.hpp>
#include <PolypiaGL/GLFactory.hpp>
#include <PolypiaGL/GLFlag.hpp>
#include <PolypiaGL/GLFramebuffer.hpp>
#include <PolypiaGL/GLRenderContext.hpp>
#include <PolypiaGL/GLRenderException.hpp>
#include <PolypiaGL/ObjectId.hpp>
#include <PolypiaGL/ObjectLedger.hpp>
#include <PolypiaGL/OffscreenViewer.hpp>
#include <PolypiaGL/Pass.hpp>
#include <PolypiaGL/Profile.hpp>
#include <PolypiaGL/fwd.hpp>
