#version 450 core
