#version 450 compatibility
