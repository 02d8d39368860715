#pragma once
// All of Polypia.

#include <Polypia/Interactor.hpp>
#include <Polypia/LayeredMultiViews.hpp>
#include <Polypia/MapMemory.hpp>
#include <Polypia/NamedRenderExceptions.hpp>
#include <Polypia/ObjectSelection.hpp>
#include <Polypia/OfflineRenderResult.hpp>
#include <Polypia/PixelBuffer.hpp>
#include <Polypia/Polyp.hpp>
#include <Polypia/PolypCreator.hpp>
#include <Polypia/PolypCreatorKeeper.hpp>
#include <Polypia/PolypNutrition.hpp>
#include <Polypia/RenderBasin.hpp>
#include <Polypia/RenderException.hpp>
#include <Polypia/RenderNamespace.hpp>
#include <Polypia/RenderParameter.hpp>
#include <Polypia/RenderTentacles.hpp>
#include <Polypia/Seagrass.hpp>
#include <Polypia/SlotUpdater.hpp>
#include <Polypia/TextureModel.hpp>
#include <Polypia/UniformBuffer.hpp>
#include <Polypia/VCameraSet.hpp>
#include <Polypia/VRenderInterruptor.hpp>
#include <Polypia/VRenderPrecision.hpp>
#include <Polypia/View.hpp>
#include <Polypia/fwd.hpp>
